// The prompts of the workspace the manager shows: one card per prompt with its title, the edit and
// delete buttons, its group and tags, and the start of its text. A model and a delegate, with rows of
// one height: a workspace of thousands of prompts scrolls and filters with no widget per row. With
// the keyboard, Return edits the current prompt and Delete asks to delete it.
#pragma once

#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QListView>

class WorkspaceManagerPromptList : public QListView {
    Q_OBJECT

public:
    struct Texts {
        QString edit;
        QString remove;
        QString listSeparator;
    };

    explicit WorkspaceManagerPromptList(QWidget* parent = nullptr);

    // `editable` enables the rows' buttons.
    void setPrompts(const QList<PromptItem>& prompts, bool editable, const Texts& texts,
                    PromptPanelTextSize textSize);
    const QList<PromptItem>& prompts() const { return m_prompts; }
    bool isEditable() const { return m_editable; }

    // In the viewport's coordinates.
    QRect editButtonRect(int row) const;
    QRect deleteButtonRect(int row) const;

    // The line under the title: the group and the tags, those that are there.
    static QString detailLine(const PromptItem& prompt, const QString& listSeparator);

Q_SIGNALS:
    void editRequested(const PromptItem& prompt);
    void deleteRequested(const PromptItem& prompt);

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    QList<PromptItem> m_prompts;
    bool m_editable = false;
    Texts m_texts;
    class PromptRowModel* m_model = nullptr;
    class PromptRowDelegate* m_delegate = nullptr;
};
