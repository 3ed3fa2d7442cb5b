// Mirroring, against QImage's own and the memory limit.

#include <geometry/inputs.h>

using namespace vellum::bench;

namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;

struct Way
{
    const char *name;
    bool horizontal;
    bool vertical;
};

Comparison compareMember(QImage::Format format, Way way)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, false);
    const auto ours = keeping([=] { return in->vellum.mirrored(way.horizontal, way.vertical); });
    const auto qt = keeping([=] { return in->plain.mirrored(way.horizontal, way.vertical); });
    const double copySpeed = way.horizontal ? 0 : 0.9; // rows only change their order
    return {ours, {{"QImage::mirrored", qt, 1.0}, copyPeer(in, copySpeed)}, in->bytes()};
}

Comparison compareBig(QImage::Format format, Way way)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, true);
    const auto ours =
        keeping([=] { return vellum::mirrored(in->big, way.horizontal, way.vertical); });
    const auto plain =
        keeping([=] { return vellum::mirrored(in->vellum, way.horizontal, way.vertical); });
    const auto qt = keeping([=] { return in->plain.mirrored(way.horizontal, way.vertical); });
    return {ours,
            {{"the same on a plain image", plain, 0.85},
             {"QImage::mirrored, plain", qt, 1.0},
             copyPeer(in)},
            in->bytes()};
}

Comparison compareInPlace(QImage::Format format, Way way)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, true);
    const auto ours = [=] { vellum::mirrorInPlace(in->big, way.horizontal, way.vertical); };
    return {ours, {copyPeer(in)}, in->bytes()};
}

const bool registered = [] {
    using namespace std::string_literals;
    for (const auto format :
         {QImage::Format_Mono, QImage::Format_Grayscale8, QImage::Format_RGB16,
          QImage::Format_RGB888, QImage::Format_ARGB32, QImage::Format_RGBA64}) {
        for (const Way way : {Way {"horizontal", true, false}, Way {"vertical", false, true},
                              Way {"both", true, true}}) {
            const std::string name = "mirror/"s + way.name + "/" + nameOf(format);
            Register(name, [=] { return compareMember(format, way); });
            Register(name + " big", [=] { return compareBig(format, way); });
            Register(name + " in place, big", [=] { return compareInPlace(format, way); });
        }
    }
    return true;
}();

} // namespace
