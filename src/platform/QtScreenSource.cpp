#include "platform/QtScreenSource.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace {

struct FreeDeleter {
    void operator()(void *p) const { std::free(p); }
};
template<typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// The geometry of the window with keyboard focus, in root coordinates, as the window manager
// announces it; an empty rectangle when there is none or this is not X11.
QRect x11ActiveWindow()
{
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *c = x11 ? x11->connection() : nullptr;
    if (!c)
        return {};
    static const xcb_atom_t activeAtom = [c] {
        const char name[] = "_NET_ACTIVE_WINDOW";
        Reply<xcb_intern_atom_reply_t> r(
            xcb_intern_atom_reply(c, xcb_intern_atom(c, 1, sizeof name - 1, name), nullptr));
        return r ? r->atom : xcb_atom_t(XCB_ATOM_NONE);
    }();
    if (activeAtom == XCB_ATOM_NONE)
        return {};
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    Reply<xcb_get_property_reply_t> prop(
        xcb_get_property_reply(c, xcb_get_property(c, 0, root, activeAtom, XCB_ATOM_WINDOW, 0, 1), nullptr));
    if (!prop || prop->type != XCB_ATOM_WINDOW || xcb_get_property_value_length(prop.get()) < 4)
        return {};
    const xcb_window_t window = *static_cast<xcb_window_t *>(xcb_get_property_value(prop.get()));
    if (window == XCB_WINDOW_NONE)
        return {};
    // Both requests go out before either answer is awaited: one round trip.
    const auto geometryCookie = xcb_get_geometry(c, window);
    const auto originCookie = xcb_translate_coordinates(c, window, root, 0, 0);
    Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, geometryCookie, nullptr));
    Reply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(c, originCookie, nullptr));
    if (!geometry || !origin)
        return {};
    return QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
}

// The screen that holds most of `rect` (device pixels of X11 are Qt's pixels at scale 1; at
// other scales the centre still falls on the right screen).
int screenOf(const QRect &rect)
{
    const QList<QScreen *> all = QGuiApplication::screens();
    int best = -1;
    qint64 bestArea = 0;
    for (int i = 0; i < all.size(); ++i) {
        const QRect shared = all[i]->geometry().intersected(rect);
        const qint64 area = qint64(shared.width()) * shared.height();
        if (area > bestArea) {
            best = i;
            bestArea = area;
        }
    }
    return best;
}

} // namespace

QtScreenSource::QtScreenSource()
{
    for (QScreen *s : QGuiApplication::screens())
        watch(s);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *s) {
        watch(s);
        Q_EMIT changed();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &ScreenSource::changed);
}

void QtScreenSource::watch(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &ScreenSource::changed);
    connect(screen, &QScreen::availableGeometryChanged, this, &ScreenSource::changed);
}

QList<NotchScreen> QtScreenSource::screens() const
{
    QList<NotchScreen> out;
    for (QScreen *s : QGuiApplication::screens())
        out.append({ s->name(), s->geometry(), s->availableGeometry(), 0, {}, {} });
    return out;
}

int QtScreenSource::primaryIndex() const
{
    return int(QGuiApplication::screens().indexOf(QGuiApplication::primaryScreen()));
}

int QtScreenSource::focusedIndex() const
{
    // One of our own windows (the main window, preferences) answers without asking anyone.
    if (const QWindow *own = QGuiApplication::focusWindow(); own && own->isVisible())
        return screenOf(own->frameGeometry());
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return -1;
    return screenOf(x11ActiveWindow());
}

int QtScreenSource::pointerIndex() const
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return -1;
    const QPoint at = QCursor::pos();
    return screenOf(QRect(at, QSize(1, 1)));
}
