#include "ui/NativePreviewWindowController.h"

#include "core/Log.h"
#include "state/AppState.h"
#include "ui/ContentImageProvider.h"
#include "ui/MainViewModel.h"
#include "ui/NativeSampleData.h"
#include "ui/ViewWindow.h"

#include <QQmlEngine>
#include <QQuickWindow>

NativePreviewWindowController::NativePreviewWindowController(QObject *parent)
    : QObject(parent)
    // Reading the sample conversations must not mark the user's real ones read.
    , m_state(new AppState(this, UnreadTracker::Storage::scratch))
{
    m_state->setState(NativeSampleData::state());
    m_window = std::make_unique<ViewWindow>(ViewWindow::Setup { QStringLiteral("Quillmote — Native Preview"),
        QSize(980, 640), QSize(820, 480), QStringLiteral("QuillmoteNativePreviewWindow"), QStringLiteral("MainView") });
    auto *images = new ContentImageProvider;
    m_window->engine()->addImageProvider(QLatin1String(ContentImageProvider::providerId), images);
    m_model = new MainViewModel(*m_state, nullptr, images, this);
    m_window->load({ { QStringLiteral("vm"), QVariant::fromValue(static_cast<QObject *>(m_model)) } });
    connect(m_window.get(), &ViewWindow::closed, this, &NativePreviewWindowController::closed);
}

NativePreviewWindowController::~NativePreviewWindowController() = default;

void NativePreviewWindowController::open()
{
    m_window->bringToFront();
    Log::info(Log::Category::mainwindow, QStringLiteral("native-preview: window opened with sample data"));
}

QQuickWindow *NativePreviewWindowController::window() const
{
    return m_window->window();
}
