import QtQuick

// A peer's monogram in a colour that stays the same for the same handle.
AvatarView {
    property string handle
    initials: handle.length > 0 ? handle.charAt(0).toUpperCase() : "?"
    tint: {
        const palette = ["#5b6b7f", "#3d7bd9", "#2f9e6f", "#c2692b", "#8e5bd6", "#c2454d", "#2b8fa3", "#9a7b2f"]
        let h = 0
        for (let i = 0; i < handle.length; ++i)
            h = (h * 31 + handle.charCodeAt(i)) >>> 0
        return palette[h % palette.length]
    }
}
