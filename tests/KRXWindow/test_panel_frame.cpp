// The panel's height, and the frame that marks the active pane.

#include "HostQtShell.h"
#include "PanelFixture.h"

#include <QImage>
#include <QLayout>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPen>
#include <QTest>

namespace {

/// What rectangles are drawn with, instead of the drawing.
class PenRecorder : public QPaintDevice
{
public:
    QList<QPen> pens;
    QList<QBrush> brushes;

    QPaintEngine* paintEngine() const override { return &m_engine; }

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        switch (metric) {
        case PdmWidth:
        case PdmHeight:
            return 2000;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return int(devicePixelRatioFScale());
        case PdmDepth:
            return 32;
        default:
            return 96;
        }
    }

private:
    class Engine : public QPaintEngine
    {
    public:
        explicit Engine(PenRecorder* recorder)
            : QPaintEngine(AllFeatures)
            , m_recorder(recorder)
        {
        }
        bool begin(QPaintDevice*) override { return true; }
        bool end() override { return true; }
        void updateState(const QPaintEngineState& changed) override
        {
            if (changed.state() & DirtyPen)
                m_pen = changed.pen();
            if (changed.state() & DirtyBrush)
                m_brush = changed.brush();
        }
        void drawRects(const QRectF*, int) override { note(); }
        void drawRects(const QRect*, int) override { note(); }
        void drawPath(const QPainterPath&) override {}
        void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}
        Type type() const override { return User; }

    private:
        void note()
        {
            m_recorder->pens << m_pen;
            m_recorder->brushes << m_brush;
        }

        PenRecorder* m_recorder;
        QPen m_pen;
        QBrush m_brush;
    };

    mutable Engine m_engine{this};
};

} // namespace

class TestPanelFrame : public QObject
{
    Q_OBJECT

private slots:
    // --- Height and frame ---
    void openedSummaryAsksForAHeight();
    void frameIsDrawnOnlyWhileHighlighted();
    void frameOfWidthZeroIsTheThinnestLine();
    void frameOfWidthThreeIsInsetByOneAndTwo();
    void frameHasTheHostsColour();
    void opacityOfTheFrameIsCutOffNotRounded();
    void penOfTheFrameIsSquareAndBevelled();
    void frameOfABareHostHasThePalettesHighlight();
    void changingTheStateRepaintsOnce();
};

void TestPanelFrame::openedSummaryAsksForAHeight()
{
    PanelFixture f;
    f.show();
    const int closed = f.panel->layout()->totalSizeHint().height();
    f.section()->DoExpandColapse();
    QCOMPARE(f.panel->heights.size(), 1);
    QCOMPARE(f.panel->heights.at(0), f.panel->layout()->totalSizeHint().height());
    QVERIFY(f.panel->heights.at(0) > closed);
    f.section()->DoExpandColapse();
    QCOMPARE(f.panel->heights.last(), closed);
}

namespace {

QImage painted(QWidget& panel)
{
    QImage image(panel.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    panel.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

} // namespace

void TestPanelFrame::frameIsDrawnOnlyWhileHighlighted()
{
    PanelFixture f;
    f.show();
    const QImage plain = painted(*f.panel);
    f.panel->setInHighlightState(true);
    QVERIFY(painted(*f.panel) != plain);
    f.panel->setInHighlightState(false);
    QCOMPARE(painted(*f.panel), plain);
}

void TestPanelFrame::frameOfWidthZeroIsTheThinnestLine()
{
    PanelFixture f;
    f.show();
    StandInHost::setPaletteNumber("WindowHighlightFrameWidth"_s, 0);
    StandInHost::setPaletteNumber("WindowHighlightFrameOpacity"_s, 100);
    f.panel->setInHighlightState(true);
    const QImage image = painted(*f.panel);
    StandInHost::resetPaletteNumbers();
    const QRgb frame = HostQtShell::highlightPaletteColor("WindowHighlightFrameColor"_s).rgb();
    const int middle = f.panel->width() / 2;
    QCOMPARE(image.pixel(0, 5), frame);
    QCOMPARE(image.pixel(middle, 0), frame);
    QVERIFY(image.pixel(1, 5) != frame);
    QVERIFY(image.pixel(middle, 1) != frame);
}

void TestPanelFrame::frameOfWidthThreeIsInsetByOneAndTwo()
{
    PanelFixture f;
    f.show();
    StandInHost::setPaletteNumber("WindowHighlightFrameWidth"_s, 3);
    StandInHost::setPaletteNumber("WindowHighlightFrameOpacity"_s, 100);
    f.panel->setInHighlightState(true);
    const QImage image = painted(*f.panel);
    StandInHost::resetPaletteNumbers();
    const QRgb frame = HostQtShell::highlightPaletteColor("WindowHighlightFrameColor"_s).rgb();
    const int right = f.panel->width() - 1;
    const int bottom = f.panel->height() - 1;
    const int middle = f.panel->width() / 2;
    // Three pixels along each edge, none further in.
    for (int depth = 0; depth < 3; ++depth) {
        QCOMPARE(image.pixel(depth, 5), frame);
        QCOMPARE(image.pixel(middle, depth), frame);
        QCOMPARE(image.pixel(right - depth, 5), frame);
        QCOMPARE(image.pixel(middle, bottom - depth), frame);
    }
    QVERIFY(image.pixel(3, 5) != frame);
    QVERIFY(image.pixel(middle, 3) != frame);
    QVERIFY(image.pixel(right - 3, 5) != frame);
    QVERIFY(image.pixel(middle, bottom - 3) != frame);
}

void TestPanelFrame::frameHasTheHostsColour()
{
    PanelFixture f;
    f.show();
    StandInHost::setPaletteNumber("WindowHighlightFrameWidth"_s, 5);
    StandInHost::setPaletteNumber("WindowHighlightFrameOpacity"_s, 50);
    StandInHost::setHighlightColor(QColor(200, 0, 0));
    const QImage plain = painted(*f.panel);
    f.panel->setInHighlightState(true);
    const QColor mixed = painted(*f.panel).pixelColor(2, 5);
    StandInHost::resetPaletteNumbers();
    StandInHost::setHighlightColor(QColor());
    // 50 percent is an alpha of 127.
    const QColor below = plain.pixelColor(2, 5);
    const auto mix = [](int over, int under) { return (over * 127 + under * 128) / 255; };
    QVERIFY(qAbs(mixed.red() - mix(200, below.red())) <= 2);
    QVERIFY(qAbs(mixed.green() - mix(0, below.green())) <= 2);
    QVERIFY(qAbs(mixed.blue() - mix(0, below.blue())) <= 2);
}

void TestPanelFrame::changingTheStateRepaintsOnce()
{
    PanelFixture f;
    f.show();
    class Counter : public QObject
    {
    public:
        bool eventFilter(QObject*, QEvent* event) override
        {
            paints += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
        int paints = 0;
    } counter;
    QCoreApplication::processEvents();
    f.panel->installEventFilter(&counter);
    f.panel->setInHighlightState(true);
    f.panel->setInHighlightState(true);
    QTRY_COMPARE(counter.paints, 1);
    f.panel->setInHighlightState(true);
    QCoreApplication::processEvents();
    QCOMPARE(counter.paints, 1);
}

void TestPanelFrame::opacityOfTheFrameIsCutOffNotRounded()
{
    PanelFixture f;
    f.show();
    StandInHost::setPaletteNumber("WindowHighlightFrameWidth"_s, 5);
    StandInHost::setPaletteNumber("WindowHighlightFrameOpacity"_s, 50);
    StandInHost::setHighlightColor(Qt::black);
    PenRecorder recorder;
    f.panel->setInHighlightState(true);
    f.panel->render(&recorder, QPoint(), QRegion(), QWidget::RenderFlags());
    StandInHost::resetPaletteNumbers();
    StandInHost::setHighlightColor(QColor());
    QCOMPARE(recorder.pens.size(), 1);
    // 127.5
    QCOMPARE(recorder.pens.at(0).color().alpha(), 127);
}

void TestPanelFrame::penOfTheFrameIsSquareAndBevelled()
{
    PanelFixture f;
    f.show();
    StandInHost::setPaletteNumber("WindowHighlightFrameWidth"_s, 7);
    PenRecorder recorder;
    f.panel->setInHighlightState(true);
    f.panel->render(&recorder, QPoint(), QRegion(), QWidget::RenderFlags());
    StandInHost::resetPaletteNumbers();
    QCOMPARE(recorder.pens.size(), 1);
    const QPen pen = recorder.pens.at(0);
    QCOMPARE(pen.width(), 7);
    QCOMPARE(pen.style(), Qt::SolidLine);
    QCOMPARE(pen.capStyle(), Qt::SquareCap);
    QCOMPARE(pen.joinStyle(), Qt::BevelJoin);
    QCOMPARE(recorder.brushes.at(0).style(), Qt::NoBrush);
}

void TestPanelFrame::frameOfABareHostHasThePalettesHighlight()
{
    PanelFixture f;
    f.show();
    QPalette palette = f.panel->palette();
    palette.setColor(QPalette::Highlight, QColor(10, 200, 30));
    f.panel->setPalette(palette);
    StandInHost::setBare(true);
    PenRecorder recorder;
    f.panel->setInHighlightState(true);
    f.panel->render(&recorder, QPoint(), QRegion(), QWidget::RenderFlags());
    StandInHost::setBare(false);
    QCOMPARE(recorder.pens.size(), 1);
    QCOMPARE(recorder.pens.at(0).color().rgb(), qRgb(10, 200, 30));
}

QTEST_MAIN(TestPanelFrame)
#include "test_panel_frame.moc"
