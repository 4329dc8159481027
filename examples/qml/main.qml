// SPDX-License-Identifier: MIT
import QtQuick

// The roles of the models have names, and delegates read them by these.
Item {
    id: root
    required property var rows
    required property var settings
    width: 640
    height: 220

    component Titles: Row {
        id: titles
        required property var source
        Repeater {
            model: titles.source.columnCount()
            Text {
                required property int index
                width: 100
                padding: 4
                font.bold: true
                text: titles.source.headerData(index, Qt.Horizontal)
                horizontalAlignment: titles.source.headerData(index, Qt.Horizontal, Qt.TextAlignmentRole)
                                     & Qt.AlignHorizontal_Mask
            }
        }
    }

    Titles { source: root.rows }
    TableView {
        y: 26
        width: parent.width / 2
        height: parent.height - y
        clip: true
        columnWidthProvider: () => 100
        model: root.rows
        delegate: Text {
            required property var model
            padding: 4
            elide: Text.ElideRight
            text: model.display
            horizontalAlignment: model.textAlignment & Qt.AlignHorizontal_Mask
            color: model.absent ? model.textColor : "black"
            font.italic: model.absent
        }
    }

    Titles { x: parent.width / 2; source: root.settings }
    TreeView {
        x: parent.width / 2
        y: 26
        width: parent.width / 2
        height: parent.height - y
        clip: true
        columnWidthProvider: () => 100
        model: root.settings
        delegate: Item {
            id: cell
            required property var model
            required property TreeView treeView
            required property bool isTreeNode
            required property bool expanded
            required property int hasChildren
            required property int depth
            required property int row
            implicitHeight: text.implicitHeight
            Text {
                id: text
                x: cell.isTreeNode ? cell.depth * 16 : 0
                padding: 4
                text: (!cell.isTreeNode || !cell.hasChildren ? "" : cell.expanded ? "▾ " : "▸ ")
                      + (cell.model.display ?? "")
            }
            TapHandler { onTapped: cell.treeView.toggleExpanded(cell.row) }
        }
        Component.onCompleted: expandRecursively()
    }
}
