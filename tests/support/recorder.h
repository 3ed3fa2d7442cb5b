// A paint device that writes down the images it is asked to draw.
#pragma once

#include <QImage>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QRectF>

#include <vector>

namespace vellum::test {

struct DrawnImage
{
    QRectF target;
    QImage image; // a deep copy, taken when it was drawn
    QRectF source;
    Qt::ImageConversionFlags flags;
};

class Recorder : public QPaintDevice
{
public:
    std::vector<DrawnImage> &drawn() { return m_engine.drawn; }
    QPaintEngine *paintEngine() const override { return &m_engine; }

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        switch (metric) {
        case PdmWidth:
        case PdmHeight:
            return 100000;
        case PdmDepth:
            return 32;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDevicePixelRatioScaled:
            return int(devicePixelRatioFScale());
        default:
            return 100;
        }
    }

private:
    class Engine : public QPaintEngine
    {
    public:
        Engine() : QPaintEngine(AllFeatures) { }

        std::vector<DrawnImage> drawn;

        bool begin(QPaintDevice *) override { return true; }
        bool end() override { return true; }
        void updateState(const QPaintEngineState &) override { }
        Type type() const override { return User; }
        void drawPixmap(const QRectF &, const QPixmap &, const QRectF &) override { }
        void drawImage(const QRectF &target, const QImage &image, const QRectF &source,
                       Qt::ImageConversionFlags flags) override
        {
            drawn.push_back({target, image.copy(), source, flags});
        }
    };

    mutable Engine m_engine;
};

} // namespace vellum::test
