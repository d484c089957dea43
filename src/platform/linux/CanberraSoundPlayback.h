// One voice of the copy sound, played through libcanberra from the sound files Velmora ships. Every
// play gets an id of its own, so voices overlap. Without a sound server, or without the file, a voice
// stays silent: play() answers false and nothing is reported. Main thread only.
#pragma once

#include "PromptCopySoundPlayback.h"

#include <QStringList>
#include <cstdint>
#include <optional>

class CanberraSoundPlayback final : public PromptCopySoundPlayback {
public:
    explicit CanberraSoundPlayback(QString filePath);
    ~CanberraSoundPlayback() override;

    bool isPlaying() const override;
    void stop() override;
    // Every play starts at the beginning of the file; no other position is kept.
    void setCurrentTime(double seconds) override;
    bool play() override;

    // `<executable directory>/../share/velmora/sounds` when installed, then the source tree's
    // resources/sounds above the executable's folder; only folders that exist.
    static QStringList soundDirectories(const QString& executableDirectory);
    // `<name>.wav` in the first folder that holds it; nothing for a name that isn't a plain file name.
    static std::optional<QString> soundFile(const QString& name, const QStringList& directories);
    // Voices of a sound by name, or nothing for a name without a file.
    static PromptCopySoundFactory factory(QStringList directories);

private:
    QString m_filePath;
    std::optional<uint32_t> m_playID;
};
