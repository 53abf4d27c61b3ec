#include "ui/NativePreviewWindowController.h"

#include "core/Log.h"
#include "state/AppState.h"
#include "ui/MainWindowController.h"
#include "ui/NativeSampleData.h"

NativePreviewWindowController::NativePreviewWindowController(QObject *parent)
    : ViewWindow({ QStringLiteral("Quillmote — Native Preview"), QSize(980, 640), QSize(820, 480),
                     QStringLiteral("QuillmoteNativePreviewWindow"), QStringLiteral("MainView") },
        parent)
    // Reading the sample conversations must not mark the user's real ones read.
    , m_state(new AppState(this, UnreadTracker::Storage::scratch))
{
    m_state->setState(NativeSampleData::state());
    m_model = MainWindowController::loadMainView(*this, *m_state, nullptr);
}

void NativePreviewWindowController::open()
{
    bringToFront();
    Log::info(Log::Category::mainwindow, QStringLiteral("native-preview: window opened with sample data"));
}
