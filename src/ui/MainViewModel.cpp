#include "ui/MainViewModel.h"

#include "core/Characters.h"
#include "state/AppState.h"
#include "state/SessionListModel.h"
#include "state/StateClient.h"
#include "ui/ConversationModel.h"

#include <QDateTime>
#include <QRegularExpression>

MainViewModel::MainViewModel(AppState &state, StateClient *client, ContentImageProvider *images, QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_client(client)
    , m_sessions(new SessionListModel(&state, this))
    , m_conversation(new ConversationModel(state, images, this))
{
    connect(&m_state, &AppState::selectionChanged, this, &MainViewModel::followSelection);
    connect(&m_state, &AppState::searchTextChanged, this, &MainViewModel::searchTextChanged);
    connect(&m_state, &AppState::stateChanged, this, &MainViewModel::profileChanged);
    if (m_client)
        connect(m_client, &StateClient::connectionChanged, this, &MainViewModel::offlineChanged);
    followSelection();
    m_newDay.setSingleShot(true);
    connect(&m_newDay, &QTimer::timeout, this, [this] {
        m_conversation->refreshDayLabels();
        m_sessions->update();
        scheduleNewDay();
    });
    scheduleNewDay();
}

void MainViewModel::scheduleNewDay()
{
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime midnight(now.date().addDays(1), QTime(0, 0));
    // A second late, so "now" is surely the new day; a coarse timer is fine for a label.
    m_newDay.start(std::chrono::milliseconds(now.msecsTo(midnight) + 1000));
}

MainViewModel::~MainViewModel() = default;

bool MainViewModel::offline() const
{
    // While connecting the split view stays: a first fetch usually answers within a blink.
    return m_client && m_client->connection() == StateClient::Connection::offline;
}

void MainViewModel::followSelection()
{
    const auto &selection = m_state.selection();
    m_conversation->setPeer(selection && selection->isConversation() ? selection->peer() : QString());
    Q_EMIT selectionChanged();
}

QString MainViewModel::detail() const
{
    const auto &selection = m_state.selection();
    if (!selection)
        return QStringLiteral("none");
    return selection->isConversation() ? QStringLiteral("conversation") : QStringLiteral("profile");
}

QString MainViewModel::selectedPeer() const
{
    const auto &selection = m_state.selection();
    return selection && selection->isConversation() ? selection->peer() : QString();
}

QString MainViewModel::selectedFingerprint() const
{
    const auto contact = m_state.contact(selectedPeer());
    return contact ? groupsOfFour(contact->fingerprint) : QString();
}

QString MainViewModel::searchText() const
{
    return m_state.searchText();
}

void MainViewModel::setSearchText(const QString &text)
{
    m_state.setSearchText(text);
}

QString MainViewModel::selfHandle() const
{
    const PanelState &s = m_state.state();
    if (s.selfInfo && !s.selfInfo->handle.isEmpty())
        return s.selfInfo->handle;
    return s.handle.value_or(QString());
}

QString MainViewModel::selfFingerprint() const
{
    const PanelState &s = m_state.state();
    return s.selfInfo ? groupsOfFour(s.selfInfo->fingerprint) : QString();
}

QString MainViewModel::groupsOfFour(const QString &fingerprint)
{
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    const QString plain = QString(fingerprint).remove(blanks);
    QStringList groups;
    for (qsizetype i = 0; i < plain.size(); i += 4)
        groups.append(plain.mid(i, 4));
    return groups.join(QLatin1Char(' '));
}

namespace {
QVariantMap personRow(const QString &handle, const QString &fingerprint, const QString &status)
{
    return { { QStringLiteral("handle"), handle }, { QStringLiteral("initials"), Characters::initials(handle) },
        { QStringLiteral("fingerprint"), MainViewModel::groupsOfFour(fingerprint) },
        { QStringLiteral("status"), status }, { QStringLiteral("note"), MainViewModel::statusText(status) } };
}

bool isConnected(const Contact &c)
{
    return !c.status || c.status->isEmpty() || *c.status == QLatin1String("connected");
}
} // namespace

QString MainViewModel::statusText(const QString &status)
{
    if (status.isEmpty() || status == QLatin1String("connected"))
        return QStringLiteral("已连接");
    if (status == QLatin1String("pending"))
        return QStringLiteral("待对方确认");
    if (status == QLatin1String("blocked"))
        return QStringLiteral("已屏蔽");
    return status;
}

QVariantList MainViewModel::pending() const
{
    QVariantList rows;
    for (const PendingConnect &p : m_state.state().pending)
        rows.append(personRow(p.handle, p.fingerprint, QString()));
    return rows;
}

QVariantList MainViewModel::contacts() const
{
    QVariantList rows;
    for (const Contact &c : m_state.state().contacts)
        if (isConnected(c))
            rows.append(personRow(c.handle, c.fingerprint, c.status.value_or(QString())));
    return rows;
}

QVariantList MainViewModel::otherContacts() const
{
    QVariantList rows;
    for (const Contact &c : m_state.state().contacts)
        if (!isConnected(c))
            rows.append(personRow(c.handle, c.fingerprint, c.status.value_or(QString())));
    return rows;
}

void MainViewModel::selectConversation(const QString &peer)
{
    m_state.setSelection(DetailSelection::conversation(peer));
}

void MainViewModel::openProfile()
{
    m_state.setSelection(DetailSelection::profile());
}

void MainViewModel::launchServer()
{
    if (m_launching || !m_client)
        return;
    m_launching = true;
    m_launchError.clear();
    Q_EMIT launchChanged();
    const QPointer<MainViewModel> self(this);
    m_client->ensureServerRunning([self](bool ok) {
        if (!self)
            return;
        self->m_launching = false;
        if (!ok)
            self->m_launchError = QStringLiteral("无法启动监督服务。\n请手动在终端运行 quillmote web。");
        else if (self->m_client)
            self->m_client->refresh();
        Q_EMIT self->launchChanged();
    });
}

void MainViewModel::openPreferences()
{
    Q_EMIT openPreferencesRequested();
}
