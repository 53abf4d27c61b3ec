#pragma once

#include <QObject>

#include <optional>

// Light or dark windows, as the desktop says: QUILLMOTE_COLOR_SCHEME=dark|light forces it;
// otherwise the settings portal's org.freedesktop.appearance color-scheme (1 dark,
// 2 light), followed as it changes; with no preference there, the palette's window colour.
// It sets Theme::instance().
class DesktopColorScheme : public QObject
{
    Q_OBJECT
public:
    explicit DesktopColorScheme(QObject *parent = nullptr);

    // The portal's value: 1 prefers dark, 2 light, anything else says nothing.
    static std::optional<bool> darkFromPortal(uint value);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void apply();

    std::optional<bool> m_forced;
    std::optional<bool> m_portal;
};
