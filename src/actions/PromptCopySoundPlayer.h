// Plays the copy confirmation sound with up to four voices, so quick copies overlap instead of
// cutting each other off. Main thread only.
#pragma once

#include "PromptCopySoundPlayback.h"

#include <optional>
#include <vector>

class PromptCopySoundPlayer {
public:
    explicit PromptCopySoundPlayer(PromptCopySoundFactory makeSound, int maximumVoiceCount = 4);

    // An empty name plays nothing.
    void play(const QString& name);
    // Called when the chosen sound changes: the voices of the old one are stopped and freed.
    void selectSound(const QString& name);

    const std::optional<QString>& currentSoundName() const { return m_currentSoundName; }
    int voiceCount() const { return int(m_voices.size()); }
    int nextBusyVoiceIndex() const { return m_nextBusyVoiceIndex; }

private:
    void resetVoices();
    static bool start(PromptCopySoundPlayback& voice);

    PromptCopySoundFactory m_makeSound;
    int m_maximumVoiceCount;
    std::optional<QString> m_currentSoundName;
    std::vector<std::unique_ptr<PromptCopySoundPlayback>> m_voices;
    int m_nextBusyVoiceIndex = 0;
};
