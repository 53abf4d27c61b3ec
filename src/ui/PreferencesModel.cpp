#include "ui/PreferencesModel.h"

#include "core/SettingsStore.h"
#include "intents/QuillmoteFocusFilter.h"

namespace {
using K = SettingsStore::Key;

struct Row {
    K key;
    bool defaultValue;
    const char *label;
    const char *group;
};

// Same labels and defaults as the tray's quick switches.
constexpr Row kRows[] = {
    { K::quietWhenFocused, false, "聚焦终端时安静", "通知" },
    { K::commNotifications, true, "好友身份通知 + 头像", "通知" },
    { K::urgencyMapping, true, "紧迫度自适应", "通知" },
    { K::sound, true, "新消息提示音", "通知" },
    { K::focusFilter, false, "按好友配专注打断", "权限与高级（默认关）" },
    { K::biometricGate, false, "敏感操作需 Touch ID", "权限与高级（默认关）" },
};
static_assert(std::size(kRows) == SettingsStore::allKeys.size(), "every switch of the store has a row");
} // namespace

PreferencesModel::PreferencesModel(QObject *parent)
    : QObject(parent)
{
}

QVariantList PreferencesModel::switchGroups() const
{
    // The rows of a group stand together in the table.
    QVariantList groups;
    QVariantList rows;
    for (qsizetype i = 0; i < qsizetype(std::size(kRows)); ++i) {
        const Row &r = kRows[i];
        rows.append(QVariantMap { { QStringLiteral("key"), SettingsStore::keyString(r.key) },
            { QStringLiteral("label"), QString::fromUtf8(r.label) },
            { QStringLiteral("checked"), SettingsStore::flag(r.key, r.defaultValue) } });
        if (i + 1 == qsizetype(std::size(kRows)) || qstrcmp(kRows[i + 1].group, r.group) != 0) {
            groups.append(QVariantMap {
                { QStringLiteral("title"), QString::fromUtf8(r.group) }, { QStringLiteral("switches"), rows } });
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
    for (const Row &r : kRows) {
        if (SettingsStore::keyString(r.key) == key) {
            SettingsStore::setFlag(r.key, on);
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
