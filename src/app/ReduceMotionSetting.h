// Whether the desktop asks for less motion: the settings portal's GNOME "enable-animations", read once
// in the background and then followed through the portal's change signal. Until an answer arrives,
// and wherever the portal can't be read, motion is not reduced.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

class ReduceMotionSetting : public QObject {
    Q_OBJECT

public:
    explicit ReduceMotionSetting(const QDBusConnection& bus, QObject* parent = nullptr);

    bool reduceMotion() const { return m_reduceMotion; }

    // The portal's value of enable-animations, however deeply it comes wrapped; absent when it isn't
    // a boolean.
    static std::optional<bool> animationsEnabled(const QVariant& value);

private Q_SLOTS:
    void settingChanged(const QDBusMessage& message);

private:
    bool m_reduceMotion = false;
};
