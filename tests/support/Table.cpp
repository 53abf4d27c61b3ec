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
    const QString name = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    QFile file(sourceDir() + QStringLiteral("/tests/data/tables/%1.json").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no table %s", qPrintable(file.fileName()));
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &error);
    const QJsonValue rows = doc.object().value(QLatin1String(function));
    if (!rows.isArray())
        qFatal("%s: no rows for %s (%s)", qPrintable(file.fileName()), function.constData(),
            qPrintable(error.errorString()));
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
