// What a button shows: a title and an optional symbol ahead of it, with the label pieces the panel's
// surfaces share.
#pragma once

#include <QColor>
#include <QString>
#include <optional>

struct VelmoraButtonLabel {
    QString title = {};
    QString systemImage = {}; // empty: no symbol
    double iconPixels = 13.0;
    std::optional<QColor> iconColor = std::nullopt;  // absent: the button's foreground
    int titlePixels = 0;                             // 0: the button's own font size
    std::optional<QColor> background = std::nullopt; // a backing behind the whole label
};

// A button of the panel's bottom toolbar: a primary one leads with a 17-point symbol in the accent.
struct VelmoraBottomToolbarLabel {
    QString title;
    QString systemImage;
    bool isPrimary = false;

    VelmoraButtonLabel label() const;
};

// An action of the empty states and banners: 13-point text and symbol on a light backing, of the
// accent when `isAccent`.
struct PromptPanelActionLabel {
    QString title;
    QString systemImage;
    bool isAccent = false;

    VelmoraButtonLabel label() const;
};
