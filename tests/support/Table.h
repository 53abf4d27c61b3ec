#pragma once

#include <QByteArrayList>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QTest>

#include <array>
#include <source_location>
#include <type_traits>
#include <utility>

// Rows of data-driven tests kept as data. tests/data/tables/<executable>.json maps each test
// function's name to its rows: objects with the row's name under "row" and one member per
// column. A member that is absent (or null) gives the column's default value.
namespace Table {

// The rows of the test function whose data `dataFunction` (its signature) makes. Under
// -datatags QtTest names no current test function, so the caller's own name says which.
QJsonArray currentRows(const char *dataFunction);

// A string is its own text; any other value is its compact JSON.
QByteArray text(const QJsonValue &v);

// A column's value: text as text() gives it; "nan" for a double stands for not-a-number,
// which JSON cannot write; anything else (bool, int, QStringList, QVariantMap, QVariant) as
// QVariant converts it.
template<typename T> T from(const QJsonValue &v)
{
    if constexpr (std::is_same_v<T, QString>)
        return QString::fromUtf8(text(v));
    else if constexpr (std::is_same_v<T, QByteArray>)
        return text(v);
    else if constexpr (std::is_same_v<T, double>)
        return v.toString() == QLatin1String("nan") ? qQNaN() : v.toDouble();
    else if constexpr (std::is_same_v<T, QByteArrayList>) {
        QByteArrayList out;
        for (const QJsonValue &e : v.toArray())
            out << text(e);
        return out;
    } else
        return v.toVariant().value<T>();
}

// Declares the columns, of these types, and adds every row of the current test function.
template<typename... T>
void load(const std::array<const char *, sizeof...(T)> &columns,
    const std::source_location &where = std::source_location::current())
{
    [&]<std::size_t... I>(std::index_sequence<I...>)
    {
        (QTest::addColumn<T>(columns[I]), ...);
        for (const QJsonValue &r : currentRows(where.function_name())) {
            const QJsonObject row = r.toObject();
            (QTest::newRow(qPrintable(row[QLatin1String("row")].toString())) << ... << from<T>(row[columns[I]]));
        }
    }
    (std::index_sequence_for<T...> {});
}

} // namespace Table
