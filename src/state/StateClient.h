#pragma once

#include "model/PanelState.h"
#include "state/SSELineSplitter.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>

class QNetworkAccessManager;
class QNetworkReply;

// Keeps the app's copy of the local state server's document current: polls "/api/state"
// every 2 s, refetches when the "/events" stream announces a change, tracks whether the
// server answers, and once started asks the daemon manager for a server when it is silent.
// Lives on the main thread; documents are decoded on the thread pool, and a poll whose body
// is byte for byte the last one decodes nothing and publishes nothing.
class StateClient : public QObject
{
    Q_OBJECT
public:
    enum class Connection { connecting, connected, offline };
    Q_ENUM(Connection)

    explicit StateClient(QObject *parent = nullptr);
    ~StateClient() override;

    const PanelState &state() const { return m_state; }
    Connection connection() const { return m_connection; }
    // "http://127.0.0.1:" and the port, without a trailing slash.
    QString baseURL() const { return m_baseURL; }
    qint64 port() const { return m_port; }

    // QUILLMOTE_WEB_PORT as a base-10 integer with an optional sign, else 4599.
    static qint64 portFromEnvironment();

    // Idempotent: the first call polls, follows the stream and starts a silent server; later
    // calls only fetch once.
    void start();
    // One fetch of the document.
    void refresh();
    // One probe: true exactly when "/api/state" answers 200 within 2 s. `done` runs on
    // this object's thread.
    void isServerResponding(std::function<void(bool)> done);
    // Probe; if silent, spawn a server and wait up to ~10 s for it to answer.
    void ensureServerRunning(std::function<void(bool)> done = {});

    // How many documents were decoded so far (a byte-identical body costs none), and how
    // many fetches have finished.
    int decodeCount() const { return m_decodeCount; }
    int fetchCount() const { return m_fetchCount; }
    // Tests only: a longer poll interval leaves the event stream as the only trigger.
    void setPollIntervalForTesting(int ms) { m_pollTimer.setInterval(ms); }

Q_SIGNALS:
    void stateChanged(const PanelState &state);
    void connectionChanged(StateClient::Connection connection);

private:
    void startPolling();
    void connectSSE();
    void scheduleSSEReconnect();
    void closeSSE();
    void handleFetchReply(QNetworkReply *reply, const QByteArray &body);
    void applyDecoded(const QByteArray &body, std::optional<PanelState> decoded, const QString &error, bool differs,
        quint64 generation);
    void fetchSucceeded();
    void fetchFailed(const QString &reason, bool serverAnswered = false);
    void probeUntilAnswer(int attempt, std::function<void(bool)> done);
    enum class ServerCheck { alreadyResponding, spawned, unavailable };
    void checkServer(std::function<void(ServerCheck)> finished);

    PanelState m_state;
    Connection m_connection = Connection::connecting;
    QString m_baseURL;
    qint64 m_port = 4599;
    QNetworkAccessManager *m_http = nullptr;
    QNetworkAccessManager *m_sseHttp = nullptr;
    QPointer<QNetworkReply> m_sseReply;
    SSELineSplitter m_sseLines;
    QTimer m_pollTimer;
    QTimer m_sseReconnectTimer;
    bool m_started = false;
    bool m_autoStartInFlight = false;

    QByteArray m_scratch; // reused for reading response bodies
    QByteArray m_lastBody; // the body that produced m_state
    QByteArray m_decodingBody; // a body on its way through the decoder
    QByteArray m_failedBody; // the last body that could not be decoded, and why
    QString m_failedReason;
    quint64 m_stateGeneration = 0; // bumped whenever m_state is replaced
    int m_decodeCount = 0;
    int m_fetchCount = 0;
    // Cleared on destruction, so a spawn queued on the pool never starts a server for a
    // client that is gone.
    std::shared_ptr<std::atomic_bool> m_alive = std::make_shared<std::atomic_bool>(true);
};
