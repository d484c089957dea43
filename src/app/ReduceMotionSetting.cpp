#include "ReduceMotionSetting.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace {

const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString settingsInterface = u"org.freedesktop.portal.Settings"_s;
const QString interfaceGroup = u"org.gnome.desktop.interface"_s;
const QString animationsKey = u"enable-animations"_s;

} // namespace

ReduceMotionSetting::ReduceMotionSetting(const QDBusConnection& bus, QObject* parent) : QObject(parent)
{
    if (!bus.isConnected())
        return;
    QDBusConnection connection(bus);
    connection.connect(portalService, portalPath, settingsInterface, u"SettingChanged"_s, this,
                       SLOT(settingChanged(QDBusMessage)));
    QDBusMessage read = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, u"Read"_s);
    read << interfaceGroup << animationsKey;
    auto* watcher = new QDBusPendingCallWatcher(connection.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        const QDBusPendingReply<QVariant> reply = *call;
        if (reply.isError())
            return;
        if (const auto enabled = animationsEnabled(reply.value()))
            m_reduceMotion = !*enabled;
    });
}

std::optional<bool> ReduceMotionSetting::animationsEnabled(const QVariant& value)
{
    QVariant unwrapped = value;
    // The portal's Read wraps the value in one more variant than the setting has.
    while (unwrapped.metaType() == QMetaType::fromType<QDBusVariant>())
        unwrapped = unwrapped.value<QDBusVariant>().variant();
    if (unwrapped.metaType() != QMetaType::fromType<bool>())
        return std::nullopt;
    return unwrapped.toBool();
}

void ReduceMotionSetting::settingChanged(const QDBusMessage& message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 3 || arguments.at(0).toString() != interfaceGroup ||
        arguments.at(1).toString() != animationsKey)
        return;
    if (const auto enabled = animationsEnabled(arguments.at(2)))
        m_reduceMotion = !*enabled;
}
