#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cstdio>
#include <optional>

// One line of the benchmark table: a figure, and optionally the baseline it is measured
// against in the same run (ratio = value / baseline_value unless given).
inline void reportBench(const QString &name, double value, const QString &unit, const QString &baseline = {},
    std::optional<double> baselineValue = {}, std::optional<double> ratio = {})
{
    QJsonObject o { { "name", name }, { "value", value }, { "unit", unit } };
    o.insert("baseline", baseline.isEmpty() ? QJsonValue() : QJsonValue(baseline));
    o.insert("baseline_value", baselineValue ? QJsonValue(*baselineValue) : QJsonValue());
    if (!ratio && baselineValue && *baselineValue != 0)
        ratio = value / *baselineValue;
    o.insert("ratio", ratio ? QJsonValue(*ratio) : QJsonValue());
    std::printf("%s\n", QJsonDocument(o).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}
