// One frame of the panel's morph drawn offscreen: the shadow plate, the glass surface cut to the mask
// and a full panel of content, at changing expansions so that no frame repeats the one before.
#include "VelmoraMorphContainer.h"
#include "VelmoraMorphState.h"
#include "WidgetBenchmarkMain.h"

#include <QApplication>
#include <QGridLayout>
#include <QImage>
#include <QLabel>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

// A panel's worth of content: a header and a grid of tiles with two lines each, as many as fit.
QWidget* fullContent()
{
    auto* content = new QWidget;
    auto* grid = new QGridLayout(content);
    grid->setContentsMargins(18, 18, 18, 18);
    grid->setSpacing(10);
    auto* header = new QLabel(u"Velmora · Terminal · velmora"_s);
    grid->addWidget(header, 0, 0, 1, 3);
    for (int index = 0; index < 15; ++index) {
        auto* tile = new QLabel(u"<b>Review module %1</b><br>Prefer small, reversible steps; say which tests prove each"_s
                                    .arg(index));
        tile->setWordWrap(true);
        tile->setAutoFillBackground(true);
        grid->addWidget(tile, 1 + index / 3, index % 3);
    }
    return content;
}

void morphFrame(benchmark::State& state)
{
    VelmoraMorphState morphState;
    VelmoraMorphContainer container(morphState, fullContent(), new QLabel(u"Search · Settings · Manage"_s));
    container.resize(520, 720);
    QImage target(container.size(), QImage::Format_ARGB32_Premultiplied);
    double expansion = 0.0;
    for (auto _ : state) {
        expansion = expansion >= 1.0 ? 0.01 : expansion + 0.07;
        container.showFrame({expansion, 1.0, 0.0, 1.0, 0.0, 1.0});
        target.fill(Qt::transparent);
        QPainter painter(&target);
        container.render(&painter);
        painter.end();
        benchmark::DoNotOptimize(target.constBits());
    }
}
BENCHMARK(morphFrame)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return runWidgetBenchmarks(argc, argv);
}
