#include "platform/QmlConfirmer.h"

#include "core/Log.h"
#include "ui/QmlViews.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

// Made by the build from the types of the module "Quillmote.Platform".
void qml_register_types_Quillmote_Platform();

ConfirmationRequest::ConfirmationRequest(const QString &text, const QString &confirmLabel, QObject *parent)
    : QObject(parent)
    , m_text(text)
    , m_confirmLabel(confirmLabel)
{
}

void ConfirmationRequest::answer(bool accepted)
{
    if (m_done)
        return;
    m_done = true;
    Q_EMIT answered(accepted);
}

QmlConfirmer::QmlConfirmer(QObject *parent)
    : QObject(parent)
{
}

QmlConfirmer::~QmlConfirmer() = default;

void QmlConfirmer::ask(const QString &text, const QString &confirmLabel, std::function<void(bool)> done)
{
    if (!m_engine) {
        qml_register_types_Quillmote_Platform();
        m_engine = std::make_unique<QQmlEngine>();
        QmlViews::addImportPath(*m_engine);
    }
    QQmlComponent component(
        m_engine.get(), QmlViews::fileUrl(QStringLiteral("Quillmote.Platform"), QStringLiteral("ConfirmationDialog")));
    auto *request = new ConfirmationRequest(text, confirmLabel, this);
    QObject *created
        = component.createWithInitialProperties({ { QStringLiteral("request"), QVariant::fromValue(request) } });
    auto *window = qobject_cast<QQuickWindow *>(created);
    if (!window) {
        // Without a dialog nobody can say yes: the action is declined, not run unasked.
        Log::error(Log::Category::intents,
            QStringLiteral("confirmation dialog failed: %1").arg(component.errorString().trimmed()));
        delete created;
        request->deleteLater();
        done(false);
        return;
    }
    connect(request, &ConfirmationRequest::answered, this, [window, request, done](bool accepted) {
        window->hide();
        window->deleteLater();
        request->deleteLater();
        done(accepted);
    });
    m_current = window;
    window->show();
    window->raise();
    window->requestActivate();
}
