#pragma once

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

// The windows' colours and font sizes. Colours follow the desktop's light or dark scheme,
// which the platform layer tells through setDark(); font sizes follow the application
// font, so the desktop's font size setting scales the windows. The notch overlay keeps its
// own dark look and does not read this. One instance for the whole app, main thread only.
class Theme : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    Q_PROPERTY(QColor window READ window NOTIFY changed)
    Q_PROPERTY(QColor sidebar READ sidebar NOTIFY changed)
    Q_PROPERTY(QColor bar READ bar NOTIFY changed)
    Q_PROPERTY(QColor surface READ surface NOTIFY changed)
    Q_PROPERTY(QColor border READ border NOTIFY changed)
    Q_PROPERTY(QColor text READ text NOTIFY changed)
    Q_PROPERTY(QColor secondaryText READ secondaryText NOTIFY changed)
    Q_PROPERTY(QColor tertiaryText READ tertiaryText NOTIFY changed)
    Q_PROPERTY(QColor hover READ hover NOTIFY changed)
    Q_PROPERTY(QColor selected READ selected NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor danger READ danger NOTIFY changed)
    Q_PROPERTY(QColor bubbleIn READ bubbleIn NOTIFY changed)
    Q_PROPERTY(QColor bubbleOut READ bubbleOut NOTIFY changed)
    Q_PROPERTY(QColor bubbleOutBorder READ bubbleOutBorder NOTIFY changed)
    Q_PROPERTY(QColor pill READ pill NOTIFY changed)
    Q_PROPERTY(QColor code READ code NOTIFY changed)
    Q_PROPERTY(QColor codeText READ codeText NOTIFY changed)
    Q_PROPERTY(QColor codeHeader READ codeHeader NOTIFY changed)
    Q_PROPERTY(QColor payload READ payload NOTIFY changed)
    Q_PROPERTY(QColor textSelection READ textSelection NOTIFY changed)
    // Point sizes, relative to the application font.
    Q_PROPERTY(qreal body READ body NOTIFY changed)
    Q_PROPERTY(qreal small READ small NOTIFY changed)
    Q_PROPERTY(qreal caption READ caption NOTIFY changed)
    Q_PROPERTY(qreal title READ title NOTIFY changed)
    Q_PROPERTY(qreal large READ large NOTIFY changed)
    Q_PROPERTY(qreal codeSize READ codeSize NOTIFY changed)
public:
    static Theme *instance();
    static Theme *create(QQmlEngine *, QJSEngine *);

    bool dark() const { return m_dark; }
    void setDark(bool dark);

    QColor window() const { return pick("#f5f5f7", "#1e1f22"); }
    QColor sidebar() const { return pick("#ececef", "#26272b"); }
    QColor bar() const { return pick("#fbfbfd", "#232428"); }
    QColor surface() const { return pick("#ffffff", "#2c2d32"); }
    QColor border() const { return pick("#dcdce0", "#3a3b41"); }
    QColor text() const { return pick("#1d1d1f", "#ececf0"); }
    QColor secondaryText() const { return pick("#6e6e73", "#a8a8b0"); }
    QColor tertiaryText() const { return pick("#86868b", "#8c8c94"); }
    QColor hover() const { return pick("#e2e2e7", "#323339"); }
    QColor selected() const { return pick("#d4e3fb", "#2f4a73"); }
    QColor accent() const { return pick("#3d7bd9", "#6ea2f0"); }
    QColor danger() const { return pick("#e5484d", "#f26d71"); }
    QColor bubbleIn() const { return pick("#ffffff", "#2c2d32"); }
    QColor bubbleOut() const { return pick("#d9e8ff", "#24416b"); }
    QColor bubbleOutBorder() const { return pick("#c3d8fa", "#335a8f"); }
    QColor pill() const { return pick("#e4e4e8", "#33343a"); }
    QColor code() const { return pick("#1f2430", "#15171c"); }
    QColor codeText() const { return QColor(0xe6, 0xe9, 0xef); }
    QColor codeHeader() const { return QColor(0x9a, 0xa4, 0xb8); }
    QColor payload() const { return pick("#f6f7f9", "#25262b"); }
    QColor textSelection() const { return pick("#b3d1fb", "#3d6fb8"); }

    qreal body() const { return m_base; }
    qreal small() const { return m_base * 0.9; }
    qreal caption() const { return m_base * 0.8; }
    qreal title() const { return m_base * 1.15; }
    qreal large() const { return m_base * 1.5; }
    qreal codeSize() const { return m_base * 0.9; }

Q_SIGNALS:
    void changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    explicit Theme(QObject *parent = nullptr);
    QColor pick(const char *light, const char *dark) const { return QColor(QLatin1String(m_dark ? dark : light)); }
    void readFont();

    bool m_dark = false;
    qreal m_base = 10;
};
