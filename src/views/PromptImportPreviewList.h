// The previews of the import sheet, one box each (the title, then at most two lines of the text), in
// a list view that lays out and paints only what shows: the sheet may hold 200 of them.
#pragma once

#include "PromptImportParser.h"

#include <QListView>

class QFont;

class PromptImportPreviewList : public QListView {
    Q_OBJECT

public:
    static constexpr int padding = 8;
    static constexpr int spacing = 8;     // between boxes
    static constexpr int lineSpacing = 4; // between the title and the text

    explicit PromptImportPreviewList(QWidget* parent = nullptr);

    void setPreviews(const QList<PromptImportPreview>& previews);
    const QList<PromptImportPreview>& previews() const;

    // `text` wrapped at `width` into at most `lines` lines, the last one elided if more would follow.
    static QStringList wrappedLines(const QString& text, const QFont& font, int width, int lines);
    // The fill of the boxes and of the pack summary.
    static QColor boxColor();
};
