// One shortcut as the desktop portal's GlobalShortcuts passes it over D-Bus, "(sa{sv})": its id and
// options such as "description", "preferred_trigger" and, in answers, "trigger_description".
#pragma once

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QList>
#include <QString>
#include <QVariantMap>

struct PortalShortcut {
    QString id;
    QVariantMap options;

    bool operator==(const PortalShortcut&) const = default;

    // Makes the type and its list known to Qt D-Bus; call before sending or reading one.
    static void registerMetaTypes()
    {
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<QList<PortalShortcut>>();
    }

    // The shortcuts in a message argument or an answer's value, whichever form Qt D-Bus left it in.
    static QList<PortalShortcut> listFrom(const QVariant& value)
    {
        if (value.canConvert<QDBusArgument>())
            return qdbus_cast<QList<PortalShortcut>>(value.value<QDBusArgument>());
        return value.value<QList<PortalShortcut>>();
    }
};

inline QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.options;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.options;
    argument.endStructure();
    return argument;
}

Q_DECLARE_METATYPE(PortalShortcut)
