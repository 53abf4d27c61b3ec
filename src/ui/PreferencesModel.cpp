#include "ui/PreferencesModel.h"

#include "core/SettingsStore.h"
#include "intents/QuillmoteFocusFilter.h"

PreferencesModel::PreferencesModel(QObject *parent)
    : QObject(parent)
{
}

QVariantList PreferencesModel::switches() const
{
    QVariantList rows;
    for (const SettingsStore::Switch &s : SettingsStore::switches)
        rows.append(QVariantMap { { QStringLiteral("key"), SettingsStore::keyString(s.key) },
            { QStringLiteral("label"), QString::fromUtf8(s.label) },
            { QStringLiteral("group"), QString::fromUtf8(s.group) },
            { QStringLiteral("checked"), SettingsStore::flag(s.key) } });
    return rows;
}

bool PreferencesModel::breakthrough() const
{
    return QuillmoteFocusFilter::breakthroughChoice();
}

QString PreferencesModel::version() const
{
    return QStringLiteral(QM_VERSION);
}

QString PreferencesModel::logCommand() const
{
    return QStringLiteral("journalctl --user -t quillmote-notifier --since \"1 hour ago\"");
}

void PreferencesModel::setSwitch(const QString &key, bool on)
{
    for (const SettingsStore::Switch &s : SettingsStore::switches) {
        if (SettingsStore::keyString(s.key) == key) {
            SettingsStore::setFlag(s.key, on);
            Q_EMIT changed();
            return;
        }
    }
}

void PreferencesModel::setBreakthrough(bool on)
{
    SettingsStore::setValue(QString::fromLatin1(QuillmoteFocusFilter::choiceKey), on);
    Q_EMIT changed();
}

void PreferencesModel::reload()
{
    Q_EMIT changed();
}
