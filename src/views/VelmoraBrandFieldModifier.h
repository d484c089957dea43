// Dresses the single-line fields of the sheets: at least 28 high, 8 of side padding, on the neutral
// colour, rounded by 8, with a 2-point accent border while focused and a 1-point one otherwise.
#pragma once

class QLineEdit;

namespace VelmoraBrandFieldModifier {

inline constexpr int minimumHeight = 28;

void apply(QLineEdit* field);

} // namespace VelmoraBrandFieldModifier
