// The morph: its timing tables on a fake scheduler, the mask and container geometry, and what the
// container draws at chosen moments.
#include "FakeScheduler.h"
#include "StatusItemCapsuleView.h"
#include "VelmoraMorphContainer.h"
#include "VelmoraMorphMask.h"
#include "VelmoraMorphState.h"

#include <QLabel>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// One published change: which field, its new value, and how it is to be drawn.
struct Change {
    QString field;
    bool value = false;
    MorphAnimation animation;
    bool operator==(const Change&) const = default;
};

using Changes = QList<Change>;

} // namespace

Q_DECLARE_METATYPE(Changes)

namespace QTest {
template <> char* toString(const Change& change)
{
    return qstrdup(QStringLiteral("%1=%2 curve %3 %4s after %5s")
                       .arg(change.field)
                       .arg(change.value)
                       .arg(int(change.animation.curve))
                       .arg(change.animation.duration)
                       .arg(change.animation.delay)
                       .toUtf8()
                       .constData());
}
} // namespace QTest

class TestMorphSurface : public QObject {
    Q_OBJECT

    static Changes record(VelmoraMorphState& state, const std::function<void()>& action)
    {
        Changes changes;
        QObject context;
        const auto recorder = [&changes](const char* field) {
            return [&changes, field](bool value, const MorphAnimation& animation) {
                changes.append(Change{QString::fromLatin1(field), value, animation});
            };
        };
        QObject::connect(&state, &VelmoraMorphState::isExpandedChanged, &context, recorder("expanded"));
        QObject::connect(&state, &VelmoraMorphState::contentVisibleChanged, &context, recorder("content"));
        QObject::connect(&state, &VelmoraMorphState::toolbarVisibleChanged, &context, recorder("toolbar"));
        action();
        return changes;
    }

private Q_SLOTS:
    void transitionsPublishTheirAnimations_data()
    {
        QTest::addColumn<bool>("closing");
        QTest::addColumn<bool>("reduceMotion");
        QTest::addColumn<Changes>("atCall");
        QTest::addColumn<Changes>("later"); // what the scheduled work publishes
        QTest::addColumn<double>("completionAfter");
        const auto ease = [](double duration, double delay = 0.0) { return MorphAnimation::easeOut(duration, delay); };
        QTest::newRow("open") << false << false
                              << Changes{{u"expanded"_s, true, MorphAnimation::morph(0.32)},
                                         {u"content"_s, true, ease(0.1, 0.06)},
                                         {u"toolbar"_s, true, ease(0.1, 0.12)}}
                              << Changes{} << -1.0;
        QTest::newRow("open, reduced motion")
            << false << true
            << Changes{{u"expanded"_s, true, {}}, {u"content"_s, true, ease(0.1)}, {u"toolbar"_s, true, ease(0.1)}}
            << Changes{} << -1.0;
        QTest::newRow("close") << true << false
                               << Changes{{u"content"_s, false, ease(0.1)},
                                          {u"toolbar"_s, false, ease(0.1)},
                                          {u"expanded"_s, false, MorphAnimation::morph(0.24, 0.04)}}
                               << Changes{} << 0.3;
        QTest::newRow("close, reduced motion")
            << true << true << Changes{{u"content"_s, false, ease(0.1)}, {u"toolbar"_s, false, ease(0.1)}}
            << Changes{{u"expanded"_s, false, {}}} << 0.1;
    }

    void transitionsPublishTheirAnimations()
    {
        QFETCH(bool, closing);
        QFETCH(bool, reduceMotion);
        QFETCH(Changes, atCall);
        QFETCH(Changes, later);
        QFETCH(double, completionAfter);
        FakeScheduler scheduler;
        VelmoraMorphState state(scheduler.scheduler());
        if (closing)
            state.open(true);
        const qint64 generation = state.transitionGeneration();
        int completions = 0;
        QCOMPARE(record(state, [&] {
                     if (closing)
                         state.close(reduceMotion, [&completions] { ++completions; });
                     else
                         state.open(reduceMotion);
                 }),
                 atCall);
        QCOMPARE(state.transitionGeneration(), generation + 1);
        QCOMPARE(state.accessibilityReduceMotion(), reduceMotion);
        if (completionAfter < 0) {
            QVERIFY(scheduler.pending.isEmpty());
            return;
        }
        QCOMPARE(record(state, [&] { scheduler.advance(completionAfter - 0.001); }), Changes{});
        QCOMPARE(completions, 0);
        QCOMPARE(record(state, [&] { scheduler.advance(0.001); }), later);
        QCOMPARE(completions, 1);
    }

    void reopeningDuringACloseKeepsTheSurfaceAndStillCompletes_data()
    {
        QTest::addColumn<bool>("reduceMotion");
        QTest::newRow("reduced motion") << true;
        QTest::newRow("full motion") << false;
    }

    void reopeningDuringACloseKeepsTheSurfaceAndStillCompletes()
    {
        QFETCH(bool, reduceMotion);
        FakeScheduler scheduler;
        VelmoraMorphState state(scheduler.scheduler());
        state.open(reduceMotion);
        int completions = 0;
        state.close(reduceMotion, [&completions] { ++completions; });
        scheduler.advance(0.05);
        state.open(reduceMotion);
        scheduler.advance(1.0);
        QCOMPARE(completions, 1); // the caller's own generation decides what it means
        QVERIFY(state.isExpanded());
        QVERIFY(state.contentVisible());
        QVERIFY(state.toolbarVisible());
    }

    void maskGrowsFromTheTopCentre_data()
    {
        QTest::addColumn<double>("expansion");
        QTest::addColumn<QRectF>("shape");
        QTest::addColumn<double>("radius");
        // A 484 by 680 surface from a 156 by 28 capsule, in a rectangle 500 wide.
        QTest::newRow("below the range is the capsule") << -0.5 << QRectF(172, 0, 156, 28) << 14.0;
        QTest::newRow("capsule") << 0.0 << QRectF(172, 0, 156, 28) << 14.0;
        QTest::newRow("a little open") << 0.05 << QRectF(163.8, 0, 172.4, 60.6) << 30.0;
        QTest::newRow("half") << 0.5 << QRectF(90, 0, 320, 354) << 30.0;
        QTest::newRow("full") << 1.0 << QRectF(8, 0, 484, 680) << 30.0;
        QTest::newRow("above the range is full") << 1.7 << QRectF(8, 0, 484, 680) << 30.0;
    }

    void maskGrowsFromTheTopCentre()
    {
        QFETCH(double, expansion);
        QFETCH(QRectF, shape);
        QFETCH(double, radius);
        const VelmoraMorphMask mask{484, 680, 156, 28, expansion};
        const QRectF rect(0, 40, 500, 700);
        QCOMPARE(mask.shapeRect(rect), shape);
        QCOMPARE(mask.cornerRadius(), radius);
        QCOMPARE(mask.path(rect).boundingRect(), shape);
    }

    void containerGeometry_data()
    {
        QTest::addColumn<QSizeF>("size");
        QTest::addColumn<QSizeF>("collapsed");
        QTest::addColumn<QRectF>("surface");
        QTest::newRow("panel") << QSizeF(520, 700) << QSizeF(156, 28) << QRectF(18, 10, 484, 680);
        QTest::newRow("narrow keeps the minimum") << QSizeF(150, 40) << QSizeF(124, 28) << QRectF(13, 10, 124, 28);
        QTest::newRow("low keeps the capsule height") << QSizeF(520, 30) << QSizeF(156, 28) << QRectF(18, 10, 484, 28);
    }

    void containerGeometry()
    {
        QFETCH(QSizeF, size);
        QFETCH(QSizeF, collapsed);
        QFETCH(QRectF, surface);
        const auto geometry = VelmoraMorphContainer::Geometry::forSize(size);
        QCOMPARE(QSizeF(geometry.collapsedWidth, VelmoraMorphContainer::collapsedHeight), collapsed);
        QCOMPARE(geometry.surfaceRect, surface);
        QCOMPARE(QSizeF(geometry.expandedWidth, geometry.expandedHeight), surface.size());
    }

    void containerDrawsOnlyInsideTheMask_data()
    {
        QTest::addColumn<double>("expansion");
        QTest::addColumn<double>("contentOpacity");
        QTest::newRow("capsule") << 0.0 << 1.0;
        QTest::newRow("half") << 0.5 << 1.0;
        QTest::newRow("half, content fading in") << 0.5 << 0.6;
        QTest::newRow("full") << 1.0 << 1.0;
    }

    void containerDrawsOnlyInsideTheMask()
    {
        QFETCH(double, expansion);
        QFETCH(double, contentOpacity);
        VelmoraMorphState state;
        auto* content = new QWidget;
        content->setAutoFillBackground(true);
        QPalette palette;
        palette.setColor(QPalette::Window, Qt::green);
        content->setPalette(palette);
        VelmoraMorphContainer container(state, content, nullptr);
        container.resize(520, 600);
        container.showFrame({expansion, contentOpacity, 0.0, 1.0, 0.0, 1.0});
        const QImage image = container.grab().toImage().convertToFormat(QImage::Format_ARGB32);
        const QPainterPath outline = container.outline();
        int inside = 0;
        for (int y = 0; y < image.height(); y += 7) {
            for (int x = 0; x < image.width(); x += 7) {
                const QRectF pixel(x, y, 1, 1);
                // Pixels the outline cuts are antialiased; only clear sides are judged.
                if (!outline.intersects(pixel)) {
                    if (qAlpha(image.pixel(x, y)) > 2)
                        QFAIL(qPrintable(u"drawn outside the mask at %1,%2: %3"_s.arg(x).arg(y).arg(image.pixel(x, y), 8, 16)));
                } else if (outline.contains(pixel)) {
                    ++inside;
                    if (contentOpacity == 1.0)
                        QCOMPARE(QColor(image.pixel(x, y)), QColor(Qt::green));
                }
            }
        }
        QVERIFY(inside > 0);
    }

    void contentIsNeverLaidOutDuringAMorph()
    {
        FakeScheduler scheduler;
        VelmoraMorphState state(scheduler.scheduler());
        qint64 now = 0;
        auto* content = new QWidget;
        auto* layout = new QVBoxLayout(content);
        for (int row = 0; row < 20; ++row)
            layout->addWidget(new QLabel(u"Prompt %1"_s.arg(row)));
        auto* toolbar = new QLabel(u"toolbar"_s);
        VelmoraMorphContainer container(state, content, toolbar, nullptr, [&now] { return now; });
        container.resize(520, 700);
        container.show();
        QVERIFY(QTest::qWaitForWindowExposed(&container));
        QCoreApplication::processEvents();

        QList<QEvent::Type> seen;
        struct Spy : QObject {
            QList<QEvent::Type>* seen;
            bool eventFilter(QObject*, QEvent* event) override
            {
                if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
                    seen->append(event->type());
                return false;
            }
        } spy;
        spy.seen = &seen;
        content->installEventFilter(&spy);
        toolbar->installEventFilter(&spy);
        QSignalSpy outlines(&container, &VelmoraMorphContainer::outlineChanged);

        state.open(false);
        QVERIFY(container.isAnimating());
        QCOMPARE(content->pos().y(), -8); // the content starts above its place, faded out
        for (now = 0; now <= 400; now += 16) {
            container.advance();
            QCoreApplication::processEvents();
        }
        QVERIFY(!container.isAnimating());
        QCOMPARE(container.frame(), (VelmoraMorphContainer::Frame{1.0, 1.0, 0.0, 1.0, 0.0, 1.0}));
        QCOMPARE(content->pos().y(), 0);
        QVERIFY(outlines.count() > 10);
        QCOMPARE(seen, QList<QEvent::Type>{});
    }

    void capsuleBrightensWhenHovered()
    {
        QWidget button;
        button.resize(38, 24);
        auto* capsule = new StatusItemCapsuleView(button.rect(), &button);
        QCOMPARE(capsule->backgroundEffect().frame, QRectF(3, 4, 32, 16));
        QCOMPARE(capsule->innerCapsule().frame, QRectF(11, 9, 16, 6));

        const auto draw = [capsule](bool hovered) {
            capsule->setHovered(hovered);
            return capsule->grab().toImage().convertToFormat(QImage::Format_ARGB32);
        };
        const QImage rest = draw(false);
        const QImage hovered = draw(true);
        QCOMPARE(qAlpha(rest.pixel(0, 0)), 0);                       // outside the capsule
        const QColor bar(rest.pixel(19, 12)); // the bar's colour, #ff4d7e
        QVERIFY2(bar.red() == 255 && qAbs(bar.green() - 0x4d) <= 2 && qAbs(bar.blue() - 0x7e) <= 2,
                 qPrintable(bar.name()));
        QVERIFY(qAlpha(hovered.pixel(19, 4)) > qAlpha(rest.pixel(19, 4))); // brighter border
        QVERIFY(qGreen(hovered.pixel(19, 7)) < qGreen(rest.pixel(19, 7))); // stronger glow
        QVERIFY(capsule->testAttribute(Qt::WA_TransparentForMouseEvents));
    }
};

QTEST_MAIN(TestMorphSurface)
#include "tst_morphsurface.moc"
