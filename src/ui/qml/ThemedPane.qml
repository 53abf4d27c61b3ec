import QtQuick
import QtQuick.Controls
import Quillmote.Ui

// The root of a window: the theme's background, and its colours as the palette of every
// control inside (fields, buttons, menus, tooltips), light or dark.
Pane {
    padding: 0
    palette.window: Theme.window
    palette.windowText: Theme.text
    palette.base: Theme.surface
    palette.alternateBase: Theme.sidebar
    palette.text: Theme.text
    palette.button: Theme.surface
    palette.buttonText: Theme.text
    palette.brightText: Theme.text
    palette.highlight: Theme.accent
    palette.highlightedText: "white"
    palette.placeholderText: Theme.tertiaryText
    palette.light: Theme.surface
    palette.midlight: Theme.hover
    palette.mid: Theme.border
    palette.dark: Theme.tertiaryText
    palette.shadow: Theme.border
    palette.toolTipBase: Theme.surface
    palette.toolTipText: Theme.text
    background: Rectangle { color: Theme.window }
}
