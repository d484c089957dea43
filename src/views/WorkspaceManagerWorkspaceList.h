// The workspace manager's sidebar list: one row per workspace, a check box that ticks it for
// deletion and, beside it, a card that selects it (name and prompt count, source and bindings, the
// file's path, and why it can't be edited). A model and a delegate: no widget per row, so a library
// of many workspaces filters at the speed of typing. Space ticks the current row, Return selects it.
#pragma once

#include "PromptPanelTextSize.h"

#include <QListView>

class QStandardItemModel;

class WorkspaceManagerWorkspaceList : public QListView {
    Q_OBJECT

public:
    struct Row {
        QString id;
        QString name;
        qsizetype promptCount = 0;
        QString sourceLine;     // the source, " · ", the bindings
        QString pathLine;       // the file with a tilde, or "not saved"
        QString readOnlyReason; // empty for an editable workspace
        QString tickLabel;      // what a screen reader calls the check box
        bool ticked = false;
        bool selected = false;

        bool operator==(const Row&) const = default;
    };

    explicit WorkspaceManagerWorkspaceList(QWidget* parent = nullptr);

    // Keeps the scroll position when the same workspaces come back in the same order.
    void setRows(const QList<Row>& rows, PromptPanelTextSize textSize);
    const QList<Row>& rows() const { return m_rows; }

    // In the viewport's coordinates.
    QRect checkBoxRect(int row) const;
    QRect cardRect(int row) const;

Q_SIGNALS:
    void tickToggled(const QString& id, bool ticked);
    void workspaceClicked(const QString& id);

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void toggle(int row);

    QList<Row> m_rows;
    class WorkspaceRowModel* m_model = nullptr;
    class WorkspaceRowDelegate* m_delegate = nullptr;
};
