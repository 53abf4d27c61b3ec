#include "ui/PreferencesModel.h"

#include "core/Log.h"
#include "core/SettingsStore.h"
#include "intents/QuillmoteFocusFilter.h"
#include "ui/LoginItem.h"

PreferencesModel::PreferencesModel(LoginItem *loginItem, QObject *parent)
    : QObject(parent)
    , m_loginItem(loginItem)
{
}

bool PreferencesModel::loginItem() const
{
    return m_loginItem && m_loginItem->enabled();
}

void PreferencesModel::setLoginItem(bool on)
{
    if (!m_loginItem)
        return;
    QString error;
    if (m_loginItem->setEnabled(on, &error))
        Log::info(Log::Category::lifecycle,
            on ? QStringLiteral("login-item: turned on in the preferences")
               : QStringLiteral("login-item: turned off in the preferences"));
    else
        Log::error(Log::Category::lifecycle, QStringLiteral("login-item: change failed: %1").arg(error));
    Q_EMIT changed();
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
