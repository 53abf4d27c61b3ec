#include "support/Table.h"
#include "support/TestEnv.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

QJsonArray Table::currentRows(const char *dataFunction)
{
    // "void TestX::foo_data()" → "foo"
    QByteArray function(dataFunction);
    function.truncate(function.indexOf('('));
    function = function.mid(function.lastIndexOf(':') + 1).chopped(5);
    // One file per executable, read and parsed once for all its tables.
    static const QString path = sourceDir()
        + QStringLiteral("/tests/data/tables/%1.json")
              .arg(QFileInfo(QCoreApplication::applicationFilePath()).fileName());
    static const QJsonObject tables = [] {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("no table %s", qPrintable(path));
        QJsonParseError error;
        const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &error);
        if (!doc.isObject())
            qFatal("%s: %s", qPrintable(path), qPrintable(error.errorString()));
        return doc.object();
    }();
    const QJsonValue rows = tables.value(QLatin1String(function));
    if (!rows.isArray())
        qFatal("%s: no rows for %s", qPrintable(path), function.constData());
    return rows.toArray();
}

QByteArray Table::text(const QJsonValue &v)
{
    if (v.isString() || v.isNull() || v.isUndefined())
        return v.toString().toUtf8();
    if (v.isObject())
        return QJsonDocument(v.toObject()).toJson(QJsonDocument::Compact);
    const QByteArray array = QJsonDocument(v.isArray() ? v.toArray() : QJsonArray { v }).toJson(QJsonDocument::Compact);
    return v.isArray() ? array : array.mid(1, array.size() - 2);
}
