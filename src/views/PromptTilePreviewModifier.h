// The hover preview of a tile: FullPromptPreviewCard in a small window of its own under the tile,
// its arrow at the top edge pointing at the tile (above the tile, arrow at the bottom, where the
// screen has no room below). The window takes neither focus nor pointer input. It closes when its
// tile goes away; onDismiss then tells the owner to clear its preview state.
#pragma once

#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QObject>
#include <QPointer>
#include <QRect>
#include <functional>

class FullPromptPreviewCard;
class QWidget;

class PromptTilePreviewModifier : public QObject {
    Q_OBJECT

public:
    static constexpr int arrowHeight = 10;
    static constexpr int arrowHalfWidth = 10;
    static constexpr int gap = 2; // between the tile and the arrow's tip

    explicit PromptTilePreviewModifier(QObject* parent = nullptr);
    ~PromptTilePreviewModifier() override;

    std::function<void()> onDismiss;

    // Shows (or moves, or refreshes) the preview of `prompt` anchored to `area` of `tile`.
    void present(const PromptItem& prompt, QWidget* tile, const QRect& area, bool isCopied,
                 PromptPanelTextSize textSize, AppLanguage language);
    // Takes the preview down because its owner cleared it: onDismiss isn't called.
    void close();
    // Takes the preview down because its tile is gone, and calls onDismiss.
    void dismiss();

    bool isPresented() const;
    const QString& promptID() const { return m_promptID; }
    QWidget* anchor() const { return m_anchor; }
    QWidget* window() const { return m_window; }
    FullPromptPreviewCard* card() const { return m_card; }

    // The window's frame for a tile at `tile` (global) on a screen whose usable area is `screen`;
    // `above` tells whether it stands above the tile.
    static QRect placement(const QRect& tile, const QRect& screen, bool& above);

private:
    QPointer<QWidget> m_window;
    FullPromptPreviewCard* m_card = nullptr;
    QPointer<QWidget> m_anchor;
    QString m_promptID;
    PromptItem m_prompt;
    PromptPanelTextSize m_textSize = PromptPanelTextSize::system;
};
