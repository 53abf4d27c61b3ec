#include "state/StateClient.h"

#include "core/Log.h"
#include "state/DaemonManager.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QThreadPool>

#include <cstring>

namespace {

constexpr int kPollIntervalMs = 2000;
constexpr int kFetchTimeoutMs = 4000;
constexpr int kProbeTimeoutMs = 2000;
constexpr int kSSEReconnectMs = 3000;
constexpr int kSpawnProbes = 20;
constexpr int kSpawnProbeIntervalMs = 500;

void logInfo(const QString &line)
{
    Log::info(Log::Category::stateclient, line);
}
void logDaemon(const QString &line)
{
    Log::emit(Log::Category::stateclient, line);
}

QNetworkRequest getRequest(const QString &url, int timeoutMs)
{
    QNetworkRequest request { QUrl(url) };
    request.setTransferTimeout(timeoutMs);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    return request;
}

// Reads a response body while comparing it with the previous one, so the usual unchanged
// document is never gathered into a buffer of its own: a large allocation per poll costs
// more than everything else an unchanged poll does.
class BodyReader
{
public:
    explicit BodyReader(QByteArray reference)
        : m_reference(std::move(reference))
    {
    }
    void consume(QNetworkReply *reply, QByteArray &scratch)
    {
        for (;;) {
            const qint64 n = reply->read(scratch.data(), scratch.size());
            if (n <= 0)
                return;
            if (!m_diverged && m_matched + n <= m_reference.size()
                && std::memcmp(m_reference.constData() + m_matched, scratch.constData(), size_t(n)) == 0) {
                m_matched += n;
                continue;
            }
            if (!m_diverged) {
                m_diverged = true;
                m_body = m_reference.left(m_matched);
            }
            m_body.append(scratch.constData(), n);
        }
    }
    // The whole body; the reference itself (shared, not copied) when nothing differed.
    QByteArray body() const
    {
        if (m_diverged)
            return m_body;
        return m_matched == m_reference.size() ? m_reference : m_reference.left(m_matched);
    }

private:
    QByteArray m_reference;
    QByteArray m_body;
    qsizetype m_matched = 0;
    bool m_diverged = false;
};

bool sameBytes(const QByteArray &a, const QByteArray &b)
{
    if (a.isNull() || b.isNull())
        return false;
    return (a.constData() == b.constData() && a.size() == b.size()) || a == b;
}

} // namespace

StateClient::StateClient(QObject *parent)
    : QObject(parent)
    , m_port(portFromEnvironment())
    , m_http(new QNetworkAccessManager(this))
    , m_sseHttp(new QNetworkAccessManager(this))
    , m_scratch(64 * 1024, Qt::Uninitialized)
{
    m_baseURL = QStringLiteral("http://127.0.0.1:") + QString::number(m_port);
    m_pollTimer.setInterval(kPollIntervalMs);
    connect(&m_pollTimer, &QTimer::timeout, this, &StateClient::refresh);
    m_sseReconnectTimer.setSingleShot(true);
    m_sseReconnectTimer.setInterval(kSSEReconnectMs);
    connect(&m_sseReconnectTimer, &QTimer::timeout, this, &StateClient::connectSSE);
}

StateClient::~StateClient()
{
    m_alive->store(false);
    m_pollTimer.stop();
    m_sseReconnectTimer.stop();
    closeSSE();
}

qint64 StateClient::portFromEnvironment()
{
    const QByteArray text = qgetenv("QUILLMOTE_WEB_PORT");
    qsizetype i = 0;
    if (!text.isEmpty() && (text[0] == '+' || text[0] == '-'))
        i = 1;
    if (i >= text.size())
        return 4599;
    for (qsizetype j = i; j < text.size(); ++j) {
        if (text[j] < '0' || text[j] > '9')
            return 4599;
    }
    bool ok = false;
    const qint64 port = text.toLongLong(&ok, 10);
    return ok ? port : 4599;
}

void StateClient::start()
{
    if (m_started) {
        QMetaObject::invokeMethod(this, &StateClient::refresh, Qt::QueuedConnection);
        return;
    }
    logInfo(QStringLiteral("start: polling %1").arg(m_baseURL));
    m_started = true;
    // A silent server is started at once rather than after the first failed poll.
    QMetaObject::invokeMethod(
        this, [this] { ensureServerRunning([this](bool) { refresh(); }); }, Qt::QueuedConnection);
    startPolling();
    connectSSE();
}

void StateClient::startPolling()
{
    m_pollTimer.start();
}

void StateClient::refresh()
{
    QNetworkReply *reply = m_http->get(getRequest(m_baseURL + QStringLiteral("/api/state"), kFetchTimeoutMs));
    auto reader = std::make_shared<BodyReader>(m_lastBody);
    connect(reply, &QNetworkReply::readyRead, this, [this, reply, reader] { reader->consume(reply, m_scratch); });
    connect(reply, &QNetworkReply::finished, this, [this, reply, reader] {
        reply->deleteLater();
        reader->consume(reply, m_scratch);
        handleFetchReply(reply, reader->body());
    });
}

void StateClient::handleFetchReply(QNetworkReply *reply, const QByteArray &body)
{
    ++m_fetchCount;
    if (reply->error() != QNetworkReply::NoError && reply->error() < QNetworkReply::ContentAccessDenied) {
        fetchFailed(reply->errorString());
        return;
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 200) {
        fetchFailed(QStringLiteral("bad server response (HTTP %1)").arg(status));
        return;
    }
    // The usual poll: nothing changed since the document we hold, or since the one being
    // decoded right now.
    if (sameBytes(body, m_lastBody)) {
        fetchSucceeded();
        return;
    }
    if (sameBytes(body, m_decodingBody))
        return;
    // A server that keeps answering with a document we cannot read costs one poll per
    // interval, not one decode each.
    if (sameBytes(body, m_failedBody)) {
        fetchFailed(m_failedReason, true);
        return;
    }
    m_decodingBody = body;
    ++m_decodeCount;
    const PanelState snapshot = m_state; // shared, not copied
    const quint64 generation = m_stateGeneration;
    QPointer<StateClient> self(this);
    QThreadPool::globalInstance()->start([self, body, snapshot, generation] {
        QString error;
        std::optional<PanelState> decoded = PanelState::decode(body, &error);
        // States change a few times a minute at most: megabytes of parse buffers are not
        // worth keeping between them.
        PanelState::releaseDecodeBuffers();
        if (decoded)
            decoded->shareUnchanged(snapshot);
        const bool differs = decoded && !(*decoded == snapshot);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, body, decoded = std::move(decoded), error, differs, generation]() mutable {
                if (self)
                    self->applyDecoded(body, std::move(decoded), error, differs, generation);
            },
            Qt::QueuedConnection);
    });
}

void StateClient::applyDecoded(
    const QByteArray &body, std::optional<PanelState> decoded, const QString &error, bool differs, quint64 generation)
{
    if (m_decodingBody == body)
        m_decodingBody.clear();
    if (!decoded) {
        m_failedBody = body;
        m_failedReason = QStringLiteral("cannot decode the state document: %1").arg(error);
        fetchFailed(m_failedReason, true);
        return;
    }
    m_failedBody.clear();
    m_lastBody = body;
    // The comparison made on the worker holds unless another fetch replaced the state since.
    if (generation != m_stateGeneration)
        differs = !(*decoded == m_state);
    if (differs) {
        m_state = std::move(*decoded);
        ++m_stateGeneration;
        Q_EMIT stateChanged(m_state);
    }
    fetchSucceeded();
}

void StateClient::fetchSucceeded()
{
    if (m_connection == Connection::connected)
        return;
    m_connection = Connection::connected;
    logInfo(
        QStringLiteral("connected: %1 msgs, %2 contacts").arg(m_state.messages.size()).arg(m_state.contacts.size()));
    Q_EMIT connectionChanged(m_connection);
}

void StateClient::fetchFailed(const QString &reason, bool serverAnswered)
{
    if (m_connection != Connection::offline) {
        m_connection = Connection::offline;
        logInfo(QStringLiteral("offline: %1").arg(reason));
        Q_EMIT connectionChanged(m_connection);
    }
    // A 200 answer we cannot read already says the server runs: no probe, no spawn.
    if (m_started && !m_autoStartInFlight && !serverAnswered) {
        m_autoStartInFlight = true;
        checkServer([this](ServerCheck outcome) {
            m_autoStartInFlight = false;
            // Only a server that has just come up is fetched from at once. One that was
            // answering all along gave the failure itself (a bad status, a document we
            // cannot read), and with no tool to start a retry would spin through fetch,
            // probe and spawn attempt: both wait for the poll timer.
            if (outcome == ServerCheck::spawned)
                refresh();
            else if (outcome == ServerCheck::unavailable && !m_pollTimer.isActive())
                QTimer::singleShot(m_pollTimer.interval(), this, &StateClient::refresh);
        });
    }
}

void StateClient::isServerResponding(std::function<void(bool)> done)
{
    QNetworkReply *reply = m_http->get(getRequest(m_baseURL + QStringLiteral("/api/state"), kProbeTimeoutMs));
    connect(reply, &QNetworkReply::finished, this, [reply, done = std::move(done)] {
        reply->deleteLater();
        const bool ok
            = (reply->error() == QNetworkReply::NoError || reply->error() >= QNetworkReply::ContentAccessDenied)
            && reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200;
        done(ok);
    });
}

void StateClient::ensureServerRunning(std::function<void(bool)> done)
{
    checkServer([done = std::move(done)](ServerCheck outcome) {
        if (done)
            done(outcome != ServerCheck::unavailable);
    });
}

void StateClient::checkServer(std::function<void(ServerCheck)> finished)
{
    isServerResponding([this, finished](bool responding) {
        if (responding) {
            logDaemon(QStringLiteral("daemon: state server already responding — not spawning"));
            finished(ServerCheck::alreadyResponding);
            return;
        }
        const auto done
            = [finished](bool running) { finished(running ? ServerCheck::spawned : ServerCheck::unavailable); };
        logDaemon(QStringLiteral("daemon: state server silent — attempting to spawn `quillmote web`"));
        // Resolving the tool touches the file system: off the main thread.
        QPointer<StateClient> self(this);
        const qint64 port = m_port;
        QThreadPool::globalInstance()->start([self, alive = m_alive, port, done] {
            if (!alive->load())
                return;
            const bool spawned = DaemonManager::shared().spawnWebServer(port, Log::Category::stateclient);
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self, spawned, done] {
                    if (!self)
                        return;
                    if (!spawned) {
                        logDaemon(QStringLiteral("daemon: spawn failed (binary not found / exec error)"));
                        done(false);
                        return;
                    }
                    self->probeUntilAnswer(1, done);
                },
                Qt::QueuedConnection);
        });
    });
}

void StateClient::probeUntilAnswer(int attempt, std::function<void(bool)> done)
{
    QTimer::singleShot(kSpawnProbeIntervalMs, this, [this, attempt, done] {
        isServerResponding([this, attempt, done](bool responding) {
            if (responding) {
                logDaemon(QStringLiteral("daemon: spawned server is now responding"));
                done(true);
            } else if (attempt >= kSpawnProbes) {
                logDaemon(QStringLiteral("daemon: spawned but /api/state did not answer within ~10s"));
                done(false);
            } else {
                probeUntilAnswer(attempt + 1, done);
            }
        });
    });
}

void StateClient::closeSSE()
{
    if (!m_sseReply)
        return;
    QNetworkReply *reply = m_sseReply;
    m_sseReply.clear();
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
}

void StateClient::connectSSE()
{
    closeSSE();
    m_sseLines.reset();
    QNetworkRequest request = getRequest(m_baseURL + QStringLiteral("/events"), 0);
    request.setRawHeader("Accept", "text/event-stream");
    QNetworkReply *reply = m_sseHttp->get(request);
    m_sseReply = reply;
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] {
        const int changed = m_sseLines.feed(reply->readAll());
        for (int i = 0; i < changed; ++i)
            refresh();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        if (m_sseReply == reply) {
            m_sseReply.clear();
            reply->deleteLater();
        }
        scheduleSSEReconnect();
    });
}

void StateClient::scheduleSSEReconnect()
{
    m_sseReconnectTimer.start();
}
