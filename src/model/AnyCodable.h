#pragma once

#include <QJsonValue>
#include <QMetaType>
#include <QVariant>

// One untyped JSON value of the command-line tool's responses, kept as a plain QVariant:
// nullptr (null), bool, qint64 (whole numbers that fit), double, QString, QVariantList
// or QVariantMap (members and elements converted the same way).
struct AnyCodable {
    QVariant value = QVariant::fromValue(nullptr);

    static AnyCodable decode(const QJsonValue &json);
    // The wrapped value with its matching JSON type; null and any other kind give null.
    QJsonValue encode() const;

    bool isNull() const;
    friend bool operator==(const AnyCodable &a, const AnyCodable &b) { return a.value == b.value; }
};

Q_DECLARE_METATYPE(AnyCodable)
