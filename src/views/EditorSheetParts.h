// The pieces the editing sheets share: headings and captions in the interface text size, field
// headers with their help line, the red caption that reports a failed operation, single-line fields
// that can't take a tab or a line break, and the ways a sheet saves and goes.
#pragma once

#include "PromptPanelTextSize.h"

#include <QString>
#include <optional>

class PromptStore;
class QBoxLayout;
class QLabel;
class QLineEdit;
class QScrollArea;
class QVBoxLayout;
class QWidget;
class VelmoraButton;

namespace EditorSheetParts {

QLabel* label(const QString& text, PromptTextStyle style, const QColor& color, QWidget* parent);
QLabel* heading(const QString& text, QWidget* parent);
QLabel* secondaryCaption(const QString& text, QWidget* parent);
// A caption semibold with its help below in regular weight, secondary: editorFieldHeader.
QWidget* fieldHeader(const QString& title, const QString& help, QWidget* parent);
// Red, wrapped, hidden while there is nothing to say.
QLabel* errorCaption(QWidget* parent);
void showMessage(QLabel* caption, const std::optional<QString>& message);
// What a store operation that failed left to say: the details, else the status line.
QString storeMessage(const PromptStore& store);

// The file format has no escape for a tab or a line break in a single-line value, and a file holding
// one would no longer load: typed or pasted, each becomes a blank. The field is styled as well.
QLineEdit* singleLineField(const QString& placeholder, QWidget* parent);

// A vertically scrolling column with a visible scroll bar; rows go into `rows`.
QScrollArea* scrollingColumn(QWidget* parent, QVBoxLayout*& rows);

// Cancel and the default action at the end of a row; Ctrl+Return presses the default from anywhere
// in `sheet`, and only while it is enabled.
void addButtonRow(QBoxLayout* column, VelmoraButton* cancel, VelmoraButton* primary, QWidget* sheet);

// Gives `field` the keyboard focus the first time `sheet` is shown, wherever the sheet then stands.
void focusOnFirstShow(QWidget* sheet, QWidget* field);

// Closes the sheet host around `content`, if there is one, as saved or cancelled.
void dismiss(QWidget* content, bool saved);

} // namespace EditorSheetParts
