#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QString>

#include <cerrno>
#include <cstdio>
#include <optional>

#include <unistd.h>

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

// Starts this benchmark again inside a private session bus (dbus-run-session) unless it runs
// in one already. True in the bus; false when dbus-run-session could not be started.
inline bool inPrivateBus(char *argv[])
{
    if (qEnvironmentVariable("QM_BENCH_IN_BUS") == QLatin1String("1"))
        return true;
    qputenv("QM_BENCH_IN_BUS", "1");
    execlp("dbus-run-session", "dbus-run-session", "--", argv[0], static_cast<char *>(nullptr));
    return false;
}

// A benchmark that cannot run says why on standard error; tools/bench shows a FAILED row.
inline int fail(const char *why)
{
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, why);
    return 1;
}

// The app's environment for a run of its own: its folders under `root`, no command-line tool,
// and its own choice of platform and renderer, as on a desktop.
inline QProcessEnvironment appEnvironment(const QString &root)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char *name : { "QT_QPA_PLATFORM", "QT_QUICK_BACKEND", "QSG_RHI_BACKEND", "JOURNAL_STREAM" })
        env.remove(QString::fromLatin1(name));
    env.insert(QStringLiteral("QUILLMOTE_HOME"), root + QStringLiteral("/qh"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), root + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), root + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), root + QStringLiteral("/cache"));
    env.insert(QStringLiteral("QUILLMOTE_BIN"), QStringLiteral("/nonexistent"));
    return env;
}
