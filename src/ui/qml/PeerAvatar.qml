import QtQuick
import Quillmote.Ui

// A peer's monogram: the letters and the colour every avatar of this handle uses.
AvatarView {
    property string handle
    initials: Avatars.initials(handle)
    tint: Avatars.tint(handle)
    Accessible.role: Accessible.Graphic
    Accessible.name: handle.length > 0 ? "@" + handle + " 的头像" : "头像"
}
