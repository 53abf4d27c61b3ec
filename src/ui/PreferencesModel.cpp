#include "ui/PreferencesModel.h"

#include "core/SettingsStore.h"
#include "intents/QuillmoteFocusFilter.h"

PreferencesModel::PreferencesModel(QObject *parent)
    : QObject(parent)
{
}

QVariantList PreferencesModel::switchGroups() const
{
    // The rows of a group stand together in the table.
    QVariantList groups;
    QVariantList rows;
    const auto &table = SettingsStore::switches;
    for (qsizetype i = 0; i < qsizetype(std::size(table)); ++i) {
        const SettingsStore::Switch &s = table[i];
        rows.append(QVariantMap { { QStringLiteral("key"), SettingsStore::keyString(s.key) },
            { QStringLiteral("label"), QString::fromUtf8(s.label) },
            { QStringLiteral("checked"), SettingsStore::flag(s.key) } });
        if (i + 1 == qsizetype(std::size(table)) || qstrcmp(table[i + 1].group, s.group) != 0) {
            groups.append(QVariantMap {
                { QStringLiteral("title"), QString::fromUtf8(s.group) }, { QStringLiteral("switches"), rows } });
            rows.clear();
        }
    }
    return groups;
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
