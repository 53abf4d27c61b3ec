#include "support/Table.h"
#include "support/TestEnv.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

QJsonArray Table::currentRows(const char *dataFunction)
{
    const QByteArray caller(dataFunction);
    if (!caller.endsWith("_data"))
        qFatal("Table::load is called from a test's data function, not from %s", dataFunction);
    const QString name = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    QFile file(sourceDir() + QStringLiteral("/tests/data/tables/%1.json").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no table %s", qPrintable(file.fileName()));
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(file.readAll(), &error);
    const QJsonValue rows = doc.object().value(QString::fromLatin1(caller.chopped(5)));
    if (!rows.isArray())
        qFatal("%s: no rows for %s (%s)", qPrintable(file.fileName()), dataFunction, qPrintable(error.errorString()));
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
