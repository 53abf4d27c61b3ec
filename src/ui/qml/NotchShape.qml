import QtQuick
import QtQuick.Shapes

// The overlay's outline: it continues the top edge of the screen downwards. Corners are
// quadratic curves, the top and bottom radii independent.
Shape {
    id: shape
    property real topRadius: 6
    property real bottomRadius: 16
    property color fillColor: "black"

    readonly property real t: Math.min(topRadius, Math.min(width, height) * 0.5)
    readonly property real b: Math.min(bottomRadius, Math.min(width, height) * 0.5)

    antialiasing: true

    ShapePath {
        fillColor: shape.fillColor
        strokeWidth: -1
        startX: shape.t; startY: 0
        PathLine { x: shape.width - shape.t; y: 0 }
        PathQuad { x: shape.width; y: shape.t; controlX: shape.width; controlY: 0 }
        PathLine { x: shape.width; y: shape.height - shape.b }
        PathQuad { x: shape.width - shape.b; y: shape.height; controlX: shape.width; controlY: shape.height }
        PathLine { x: shape.b; y: shape.height }
        PathQuad { x: 0; y: shape.height - shape.b; controlX: 0; controlY: shape.height }
        PathLine { x: 0; y: shape.t }
        PathQuad { x: shape.t; y: 0; controlX: 0; controlY: 0 }
    }
}
