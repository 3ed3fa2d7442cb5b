// Mirroring, against QImage's own and the memory limit.

#include <cstring>
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

/// The limit of an operation that only changes the order of the rows.
Peer copyRowsPeer(const std::shared_ptr<Picture> &picture, double leastSpeed)
{
    const auto copy = keeping([picture] {
        const QImage &from = picture->plain;
        QImage to(from.size(), from.format());
        for (int y = 0; y < from.height(); ++y)
            std::memcpy(to.scanLine(y), from.constScanLine(y), size_t(from.bytesPerLine()));
        return to;
    });
    return {"a copy of the rows", copy, leastSpeed};
}

Comparison compareMember(QImage::Format format, Way way)
{
    const auto in = std::make_shared<Picture>(kWidth, kHeight, format, false);
    const auto ours = keeping([=] { return in->vellum.mirrored(way.horizontal, way.vertical); });
    const auto qt = keeping([=] { return in->plain.mirrored(way.horizontal, way.vertical); });
    std::vector<Peer> peers = {{"QImage::mirrored", qt, 1.0}, copyPeer(in)};
    if (!way.horizontal)
        peers.push_back(copyRowsPeer(in, 0.9));
    return {ours, peers, in->bytes()};
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
            {{"the same on a plain image", plain, 0},
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
