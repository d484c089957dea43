// One playable copy of a named sound: the copy sound keeps several so that quick copies overlap.
#pragma once

#include <QString>
#include <functional>
#include <memory>

class PromptCopySoundPlayback {
public:
    virtual ~PromptCopySoundPlayback() = default;
    virtual bool isPlaying() const = 0;
    virtual void stop() = 0;
    virtual void setCurrentTime(double seconds) = 0;
    // True when playback started.
    virtual bool play() = 0;
};

// Makes a playable copy of the named sound, or nothing for a name the desktop can't play.
using PromptCopySoundFactory = std::function<std::unique_ptr<PromptCopySoundPlayback>(const QString& name)>;
