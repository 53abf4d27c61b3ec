#include "state/AppState.h"

#include "model/ContentNormalizer.h"
#include "model/MessageTime.h"
#include "state/StateClient.h"
#include "state/UnreadTracker.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>
#include <QThreadPool>

#include <algorithm>

// What one message contributes to sessions and search, derived once.
struct AppState::MessageInfo {
    Message message; // to tell whether a new state's message with this id changed
    std::optional<double> time;
    QString searchText; // lowercased
};

struct AppState::PeerInfo {
    QList<qsizetype> messages; // indices into the document's messages, oldest first
    QList<std::optional<double>> incomingTimes; // what can be unread
    QString peerLower;
    QString previewText;
    QString previewLower;
    // Every message's search text, joined by a separator that a needle never contains in
    // practice; a needle that does is matched message by message instead.
    QString haystack;
    QList<std::shared_ptr<const AppState::MessageInfo>> infos; // document order
    qsizetype last = -1; // index of the newest message
    double lastTime = 0;
    std::optional<double> newestTime; // among the times that parse
};

// One document with everything derived from it; never changed once made, so workers and
// the main thread can hold it at the same time.
struct AppState::Derived {
    PanelState state;
    QList<Session> sessions;
    QHash<QString, std::shared_ptr<const MessageInfo>> infoById;
    QHash<QString, PeerInfo> peers;
    QHash<QString, qsizetype> contactByHandle;
};

namespace {
constexpr char16_t kSeparator = u'\x1f';
}

AppState::AppState(QObject *parent, UnreadTracker::Storage marks)
    : QObject(parent)
    , m_unread(new UnreadTracker(this, marks))
    , m_derived(std::make_shared<const Derived>())
{
    connect(m_unread, &UnreadTracker::changed, this, &AppState::unreadChanged);
}

AppState::~AppState() = default;

void AppState::assertMainThread() const
{
    Q_ASSERT_X(QThread::currentThread() == thread(), "AppState", "used off the main thread");
}

void AppState::setState(const PanelState &state)
{
    assertMainThread();
    ++m_generation;
    m_pending.reset();
    adopt(derive(state, *m_derived));
}

void AppState::follow(StateClient &client)
{
    connect(&client, &StateClient::stateChanged, this, &AppState::submitState);
    if (!(client.state() == state()))
        setState(client.state());
}

void AppState::submitState(const PanelState &state)
{
    assertMainThread();
    m_pending = state;
    if (!m_deriving)
        deriveNextInBackground();
}

void AppState::deriveNextInBackground()
{
    m_deriving = true;
    const PanelState state = *std::exchange(m_pending, std::nullopt);
    const std::shared_ptr<const Derived> previous = m_derived;
    const quint64 generation = m_generation;
    QPointer<AppState> self(this);
    QThreadPool::globalInstance()->start([self, state, previous, generation] {
        std::shared_ptr<const Derived> derived = derive(state, *previous);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, derived = std::move(derived), generation]() mutable {
                if (!self)
                    return;
                self->m_deriving = false;
                if (generation == self->m_generation)
                    self->adopt(std::move(derived));
                if (self && self->m_pending && !self->m_deriving)
                    self->deriveNextInBackground();
            },
            Qt::QueuedConnection);
    });
}

void AppState::adopt(std::shared_ptr<const Derived> derived)
{
    std::shared_ptr<const Derived> previous = std::exchange(m_derived, std::move(derived));
    m_filteredValid = false;
    Q_EMIT stateChanged();
    Q_EMIT filteredSessionsChanged();
    // The selection stays whatever the new document holds: a deep link may name a peer
    // who has not written yet and is no contact, and the page waits for them.
    markSelectionRead();
    // Freeing a long history's derivation takes milliseconds; the views have let go of the
    // old records by now, so a worker can do it.
    QThreadPool::globalInstance()->start([previous = std::move(previous)]() mutable { previous.reset(); });
}

const PanelState &AppState::state() const
{
    assertMainThread();
    return m_derived->state;
}

std::shared_ptr<const AppState::Derived> AppState::derive(const PanelState &state, const Derived &previous)
{
    auto next = std::make_shared<Derived>();
    next->state = state;
    const QList<Message> &messages = next->state.messages;
    const QList<Contact> &contacts = next->state.contacts;

    for (qsizetype i = 0; i < contacts.size(); ++i)
        next->contactByHandle.insert(contacts[i].handle, i);

    // Derived texts are reused for messages that did not change since the last state.
    QHash<QString, std::shared_ptr<const MessageInfo>> infos;
    infos.reserve(messages.size());
    QHash<QString, PeerInfo> peers;
    QList<QString> peerOrder;
    for (qsizetype i = 0; i < messages.size(); ++i) {
        const Message &m = messages[i];
        std::shared_ptr<const MessageInfo> info;
        if (const auto old = previous.infoById.constFind(m.id);
            old != previous.infoById.constEnd() && (*old)->message == m)
            info = *old;
        else
            info = std::make_shared<const MessageInfo>(
                MessageInfo { m, MessageTime::parse(m.createdAt), ContentNormalizer::searchText(m.content) });
        infos.insert(m.id, info);

        auto peer = peers.find(m.peer);
        if (peer == peers.end()) {
            peer = peers.insert(m.peer, PeerInfo {});
            peerOrder.append(m.peer);
        }
        peer->messages.append(i);
        peer->infos.append(info);
        if (m.direction == QLatin1String("in"))
            peer->incomingTimes.append(info->time);
        // Equal or later times replace the kept one: among equal times the later wins.
        if (info->time && (!peer->newestTime || *info->time > *peer->newestTime))
            peer->newestTime = info->time;
        const double time = info->time.value_or(0);
        if (peer->last < 0 || time >= peer->lastTime) {
            peer->last = i;
            peer->lastTime = time;
        }
    }

    QList<Session> &sessions = next->sessions;
    sessions.reserve(peerOrder.size() + contacts.size());
    for (const QString &handle : peerOrder) {
        PeerInfo &peer = peers[handle];
        const Message &last = messages[peer.last];
        const auto contactIndex = next->contactByHandle.constFind(handle);
        sessions.append(Session { handle, last, peer.lastTime,
            contactIndex == next->contactByHandle.constEnd() ? std::nullopt
                                                             : std::optional<Contact>(contacts[*contactIndex]) });

        // A peer whose messages are all the same as before keeps its texts.
        const auto old = previous.peers.constFind(handle);
        if (old != previous.peers.constEnd() && old->infos == peer.infos) {
            peer.peerLower = old->peerLower;
            peer.previewText = old->previewText;
            peer.previewLower = old->previewLower;
            peer.haystack = old->haystack;
        } else {
            peer.peerLower = handle.toLower();
            peer.previewText = ContentNormalizer::preview(last.type, last.content);
            peer.previewLower = peer.previewText.toLower();
            qsizetype length = 0;
            for (const auto &info : peer.infos)
                length += info->searchText.size() + 1;
            peer.haystack.reserve(length);
            for (const auto &info : peer.infos) {
                peer.haystack += info->searchText;
                peer.haystack += kSeparator;
            }
        }
        // Oldest first; stable, so document order decides among equal times.
        QList<std::pair<double, qsizetype>> order;
        order.reserve(peer.messages.size());
        for (qsizetype k = 0; k < peer.messages.size(); ++k)
            order.append({ peer.infos[k]->time.value_or(0), peer.messages[k] });
        std::stable_sort(order.begin(), order.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
        for (qsizetype k = 0; k < order.size(); ++k)
            peer.messages[k] = order[k].second;
    }
    // A contact without messages still gets a (timeless) session.
    for (const Contact &c : contacts) {
        if (peers.contains(c.handle))
            continue;
        PeerInfo peer;
        peer.peerLower = c.handle.toLower();
        peers.insert(c.handle, std::move(peer));
        sessions.append(Session { c.handle, std::nullopt, 0, c });
    }
    std::stable_sort(sessions.begin(), sessions.end(),
        [](const Session &a, const Session &b) { return a.lastTimeMillis > b.lastTimeMillis; });

    next->infoById = std::move(infos);
    next->peers = std::move(peers);
    return next;
}

const QList<Session> &AppState::sessions() const
{
    assertMainThread();
    return m_derived->sessions;
}

const AppState::PeerInfo *AppState::peerInfo(const QString &peer) const
{
    const auto info = m_derived->peers.constFind(peer);
    return info == m_derived->peers.constEnd() ? nullptr : &*info;
}

bool AppState::matches(const PeerInfo &peer, const QString &needle) const
{
    if (peer.peerLower.contains(needle) || peer.previewLower.contains(needle))
        return true;
    if (!needle.contains(kSeparator))
        return peer.haystack.contains(needle);
    return std::any_of(
        peer.infos.begin(), peer.infos.end(), [&](const auto &info) { return info->searchText.contains(needle); });
}

const QList<Session> &AppState::filteredSessions() const
{
    assertMainThread();
    if (m_filteredValid)
        return m_filtered;
    const QString needle = m_searchText.trimmed().toLower();
    if (needle.isEmpty()) {
        m_filtered = m_derived->sessions;
    } else {
        m_filtered.clear();
        for (const Session &s : m_derived->sessions) {
            const PeerInfo *peer = peerInfo(s.peer);
            if (peer && matches(*peer, needle))
                m_filtered.append(s);
        }
    }
    m_filteredValid = true;
    return m_filtered;
}

QList<Message> AppState::conversation(const QString &peer) const
{
    assertMainThread();
    QList<Message> out;
    const PeerInfo *info = peerInfo(peer);
    if (!info)
        return out;
    out.reserve(info->messages.size());
    for (const qsizetype i : info->messages)
        out.append(m_derived->state.messages[i]);
    return out;
}

QList<qsizetype> AppState::conversationRows(const QString &peer) const
{
    assertMainThread();
    const PeerInfo *info = peerInfo(peer);
    return info ? info->messages : QList<qsizetype>();
}

std::optional<Contact> AppState::contact(const QString &peer) const
{
    assertMainThread();
    const auto i = m_derived->contactByHandle.constFind(peer);
    if (i == m_derived->contactByHandle.constEnd())
        return std::nullopt;
    return m_derived->state.contacts[*i];
}

QString AppState::preview(const QString &peer) const
{
    assertMainThread();
    const PeerInfo *info = peerInfo(peer);
    return info ? info->previewText : QString();
}

int AppState::unreadCount(const QString &peer) const
{
    assertMainThread();
    const PeerInfo *info = peerInfo(peer);
    if (!info)
        return 0;
    return m_unread->unreadCount(peer, info->incomingTimes);
}

int AppState::totalUnread() const
{
    int total = 0;
    for (const Session &s : m_derived->sessions)
        total += unreadCount(s.peer);
    return total;
}

const std::optional<DetailSelection> &AppState::selection() const
{
    assertMainThread();
    return m_selection;
}

void AppState::setSelection(const std::optional<DetailSelection> &selection)
{
    assertMainThread();
    if (m_selection == selection)
        return;
    m_selection = selection;
    Q_EMIT selectionChanged();
    markSelectionRead();
}

const QString &AppState::searchText() const
{
    assertMainThread();
    return m_searchText;
}

void AppState::setSearchText(const QString &text)
{
    assertMainThread();
    if (m_searchText == text)
        return;
    const bool sameNeedle = m_searchText.trimmed().toLower() == text.trimmed().toLower();
    m_searchText = text;
    Q_EMIT searchTextChanged();
    if (!sameNeedle) {
        m_filteredValid = false;
        Q_EMIT filteredSessionsChanged();
    }
}

void AppState::markSelectionRead()
{
    if (!m_selection || !m_selection->isConversation())
        return;
    const PeerInfo *info = peerInfo(m_selection->peer());
    m_unread->markReadUpTo(m_selection->peer(), info ? info->newestTime : std::nullopt);
}
