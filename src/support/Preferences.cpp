#include "Preferences.h"

#include <QSettings>

using namespace Qt::StringLiterals;

namespace Preferences {

std::unique_ptr<QSettings> openStandard()
{
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, u"Velmora"_s,
                                       u"Velmora"_s);
}

std::optional<bool> boolean(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text == u"true")
            return true;
        if (text == u"false")
            return false;
    }
    return std::nullopt;
}

std::optional<qint64> integer(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
        return value.toLongLong();
    case QMetaType::UInt:
    case QMetaType::ULongLong: {
        bool ok = false;
        const qint64 number = value.toString().toLongLong(&ok);
        return ok ? std::optional<qint64>(number) : std::nullopt;
    }
    case QMetaType::QString: {
        bool ok = false;
        const qint64 number = value.toString().toLongLong(&ok, 10);
        return ok ? std::optional<qint64>(number) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

std::optional<quint64> unsignedInteger(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::QString: {
        bool ok = false;
        const quint64 number = value.toString().toULongLong(&ok, 10);
        return ok ? std::optional<quint64>(number) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

std::optional<QString> string(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    return std::nullopt;
}

std::optional<QByteArray> data(const QSettings& settings, const QString& key)
{
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray();
    return std::nullopt;
}

} // namespace Preferences
