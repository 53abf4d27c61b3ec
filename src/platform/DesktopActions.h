#pragma once

#include "intents/EntityQueries.h"
#include "intents/IntentsService.h"
#include "intents/ToolRunner.h"
#include "platform/ActionsBus.h"
#include "platform/KRunnerBridge.h"
#include "platform/PolkitAuthGate.h"
#include "platform/QmlConfirmer.h"

#include <QObject>

// The desktop actions assembled: the confirmation dialog, the polkit gate, the service
// that runs the actions, the queries, and their faces on the session bus (the Actions
// interface, KRunner). The app makes one and calls
// start() once it owns com.quillmote.Notifier.
class DesktopActions : public QObject
{
    Q_OBJECT
public:
    explicit DesktopActions(QObject *parent = nullptr);

    // Exports the interfaces on `bus`. A failure is logged and leaves the rest working.
    void start(QDBusConnection bus = QDBusConnection::sessionBus());

    IntentsService &service() { return m_service; }
    EntityQueries &queries() { return m_queries; }
    KRunnerBridge &krunner() { return m_krunner; }
    QmlConfirmer &confirmer() { return m_confirmer; }

private:
    CLIToolRunner m_runner;
    QmlConfirmer m_confirmer;
    PolkitAuthGate m_gate;
    IntentsService m_service;
    EntityQueries m_queries;
    ActionsBus m_bus;
    KRunnerBridge m_krunner;
};
