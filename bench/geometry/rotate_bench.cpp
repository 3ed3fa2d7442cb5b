// Turning by right angles and others, against QImage's own and the memory limit.

#include <QTransform>

#include <geometry/inputs.h>

using namespace vellum::bench;

namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;

Comparison compareRightAngle(QImage::Format format, double angle)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, false);
    const auto ours = keeping([=] { return in->vellum.rotated(angle, 0U); });
    const auto qt = keeping([=] { return in->plain.transformed(QTransform().rotate(angle)); });
    return {ours, {{"QImage::transformed", qt, 1.0}, copyPeer(in)}, in->bytes()};
}

Comparison compareBigRightAngle(QImage::Format format)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, true);
    const auto ours = keeping([=] { return in->big.rotated(90, 0U); });
    const auto plain = keeping([=] { return in->vellum.rotated(90, 0U); });
    return {ours, {{"the same of a plain image", plain, 0.85}, copyPeer(in)}, in->bytes()};
}

Comparison compareQuarterTurn(QImage::Format format)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, true);
    const auto ours = keeping([=] { return vellum::quarterTurned(in->big, 1); });
    const auto plain = keeping([=] { return vellum::quarterTurned(in->vellum, 1); });
    const auto qt = keeping([=] { return in->plain.transformed(QTransform().rotate(90)); });
    return {ours,
            {{"the same on a plain image", plain, 0.85},
             {"QImage::transformed, plain", qt, 1.0},
             copyPeer(in)},
            in->bytes()};
}

Comparison compareFree(QImage::Format format, double angle, bool big, double leastSpeed)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, true);
    const auto storage = big ? vellum::Storage::Big : vellum::Storage::Plain;
    const Vellum source = big ? in->big : in->vellum;
    const auto ours =
        keeping([=] { return vellum::freeRotated(source, angle, 0xffffffffU, storage); });
    const auto qt = keeping([=] {
        return in->plain.transformed(QTransform().rotate(angle), Qt::SmoothTransformation);
    });
    return {ours, {{"QImage::transformed, smooth", qt, leastSpeed}, copyPeer(in)}, in->bytes()};
}

const bool registered = [] {
    using namespace std::string_literals;
    for (const auto format : {QImage::Format_Mono, QImage::Format_Grayscale8, QImage::Format_RGB888,
                              QImage::Format_ARGB32}) {
        const std::string name = nameOf(format);
        Register("rotate/90/" + name, [=] { return compareRightAngle(format, 90); });
        Register("rotate/270/" + name, [=] { return compareRightAngle(format, 270); });
        Register("rotate/90/" + name + " big", [=] { return compareBigRightAngle(format); });
    }
    for (const auto format :
         {QImage::Format_Mono, QImage::Format_Grayscale8, QImage::Format_RGB16,
          QImage::Format_RGB888, QImage::Format_ARGB32, QImage::Format_RGBA64}) {
        Register("rotate/quarter turn/"s + nameOf(format) + " big",
                 [=] { return compareQuarterTurn(format); });
    }
    for (const auto format :
         {QImage::Format_Mono, QImage::Format_Grayscale8, QImage::Format_Grayscale16,
          QImage::Format_RGB16, QImage::Format_RGB888, QImage::Format_RGB32, QImage::Format_ARGB32,
          QImage::Format_RGBA64}) {
        for (const int angle : {10, 45}) {
            const std::string name =
                "rotate/free by " + std::to_string(angle) + "/" + nameOf(format);
            Register(name, [=] { return compareFree(format, angle, false, 2.5); });
            Register(name + " big", [=] { return compareFree(format, angle, true, 2.5); });
        }
    }
    return true;
}();

} // namespace
