#include "model/AnyCodable.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QVariantList>
#include <QVariantMap>

#include <cmath>

namespace {

QVariant fromJson(const QJsonValue &v)
{
    switch (v.type()) {
    case QJsonValue::Bool:
        return v.toBool();
    case QJsonValue::Double: {
        // Qt keeps whole numbers that fit in 64 bits as integers; those decode as qint64.
        const QVariant raw = v.toVariant();
        if (raw.typeId() == QMetaType::LongLong)
            return raw.toLongLong();
        return v.toDouble();
    }
    case QJsonValue::String:
        return v.toString();
    case QJsonValue::Array: {
        QVariantList list;
        const QJsonArray a = v.toArray();
        list.reserve(a.size());
        for (const QJsonValue &e : a)
            list.append(fromJson(e));
        return list;
    }
    case QJsonValue::Object: {
        QVariantMap map;
        const QJsonObject o = v.toObject();
        for (auto it = o.begin(); it != o.end(); ++it)
            map.insert(it.key(), fromJson(it.value()));
        return map;
    }
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return QVariant::fromValue(nullptr);
}

QJsonValue toJson(const QVariant &v)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
        return v.toBool();
    case QMetaType::LongLong:
    case QMetaType::Int:
        return v.toLongLong();
    case QMetaType::Double: {
        const double d = v.toDouble();
        return std::isfinite(d) ? QJsonValue(d) : QJsonValue();
    }
    case QMetaType::QString:
        return v.toString();
    case QMetaType::QVariantList: {
        QJsonArray a;
        for (const QVariant &e : v.toList())
            a.append(toJson(e));
        return a;
    }
    case QMetaType::QVariantMap: {
        QJsonObject o;
        const QVariantMap map = v.toMap();
        for (auto it = map.begin(); it != map.end(); ++it)
            o.insert(it.key(), toJson(it.value()));
        return o;
    }
    default:
        break;
    }
    return QJsonValue();
}

} // namespace

AnyCodable AnyCodable::decode(const QJsonValue &json)
{
    return AnyCodable { fromJson(json) };
}

QJsonValue AnyCodable::encode() const
{
    return toJson(value);
}

bool AnyCodable::isNull() const
{
    return !value.isValid() || value.typeId() == QMetaType::Nullptr;
}
