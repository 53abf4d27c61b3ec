#include "platform/DesktopActions.h"

#include "core/Log.h"

#include <QDBusError>

DesktopActions::DesktopActions(QObject *parent)
    : QObject(parent)
    , m_service(m_confirmer, m_gate, &m_runner)
    , m_queries(m_runner)
    , m_bus(m_service, m_queries)
    , m_krunner(m_service)
{
}

void DesktopActions::start(QDBusConnection bus)
{
    if (!bus.isConnected()) {
        Log::error(Log::Category::intents, QStringLiteral("actions: no session bus — desktop actions disabled"));
        return;
    }
    if (!m_bus.registerOn(bus))
        Log::error(Log::Category::intents,
            QStringLiteral("actions: cannot export %1 — %2")
                .arg(QLatin1String(ActionsBus::objectPath), bus.lastError().message()));
    if (!m_krunner.registerOn(bus))
        Log::error(Log::Category::intents,
            QStringLiteral("actions: cannot export %1 — %2")
                .arg(QLatin1String(KRunnerBridge::objectPath), bus.lastError().message()));
}
