// The error log: four categories under "app.velmora", written only when something failed. A line
// holds identifiers, counts, file context and error summaries; never a prompt's text, a window title
// or a full path.
#pragma once

#include "AppError.h"

#include <QString>
#include <functional>
#include <optional>

class QLoggingCategory;

namespace AppLog {

enum class Category { persistence, context, prompts, ui };

const QLoggingCategory& loggingCategory(Category category);

// Writes one error-level line: to the system log (the journal keeps it), and to standard error when
// that is a terminal.
void error(Category category, const QString& line);

inline void persistence(const QString& line)
{
    error(Category::persistence, line);
}
inline void context(const QString& line)
{
    error(Category::context, line);
}
inline void prompts(const QString& line)
{
    error(Category::prompts, line);
}
inline void ui(const QString& line)
{
    error(Category::ui, line);
}

// "<type> domain=<domain> code=<code>"; the localised description never reaches the log.
QString errorSummary(const AppError& error);

// "<parent folder>/<file name>", or the file name alone; "none" for no path.
QString fileContext(const std::optional<QString>& path);

// Tests see every line written while a sink is installed; pass nullptr to remove it.
using Sink = std::function<void(Category, const QString&)>;
void setSinkForTesting(Sink sink);

} // namespace AppLog
