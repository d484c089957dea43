#include "PromptCopySoundPlayer.h"

PromptCopySoundPlayer::PromptCopySoundPlayer(PromptCopySoundFactory makeSound, int maximumVoiceCount)
    : m_makeSound(std::move(makeSound)), m_maximumVoiceCount(maximumVoiceCount)
{}

void PromptCopySoundPlayer::selectSound(const QString& name)
{
    if (name.isEmpty()) {
        if (m_currentSoundName)
            resetVoices();
        return;
    }
    if (m_currentSoundName == name)
        return;
    resetVoices();
    m_currentSoundName = name;
}

void PromptCopySoundPlayer::resetVoices()
{
    for (auto& voice : m_voices) {
        voice->stop();
        voice->setCurrentTime(0);
    }
    m_voices.clear();
    m_currentSoundName.reset();
    m_nextBusyVoiceIndex = 0;
}

bool PromptCopySoundPlayer::start(PromptCopySoundPlayback& voice)
{
    if (voice.isPlaying())
        voice.stop();
    voice.setCurrentTime(0);
    return voice.play();
}

void PromptCopySoundPlayer::play(const QString& name)
{
    selectSound(name);
    if (!m_currentSoundName)
        return;

    // A finished voice is reused ahead of a new one; with all busy, the oldest turn is cut off.
    int index = -1;
    for (int i = 0; i < int(m_voices.size()); ++i) {
        if (!m_voices[size_t(i)]->isPlaying()) {
            index = i;
            break;
        }
    }
    if (index < 0) {
        if (int(m_voices.size()) < m_maximumVoiceCount) {
            auto voice = m_makeSound(name);
            if (!voice)
                return;
            m_voices.push_back(std::move(voice));
            index = int(m_voices.size()) - 1;
        } else {
            index = m_nextBusyVoiceIndex;
        }
    }

    if (start(*m_voices[size_t(index)])) {
        m_nextBusyVoiceIndex = (index + 1) % m_maximumVoiceCount;
        return;
    }
    // The voice is bad: replace it once with a fresh copy.
    m_voices[size_t(index)]->stop();
    m_voices[size_t(index)]->setCurrentTime(0);
    auto replacement = m_makeSound(name);
    if (!replacement) {
        m_voices.erase(m_voices.begin() + index);
        return;
    }
    m_voices[size_t(index)] = std::move(replacement);
    if (start(*m_voices[size_t(index)])) {
        m_nextBusyVoiceIndex = (index + 1) % m_maximumVoiceCount;
        return;
    }
    m_voices[size_t(index)]->stop();
    m_voices[size_t(index)]->setCurrentTime(0);
    m_voices.erase(m_voices.begin() + index);
}
