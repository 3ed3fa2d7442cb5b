#ifdef VELLUM_BENCH_VIPS // first: it has names that are keywords of Qt
#include <vips/vips.h>
#endif

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <scale/areapeers.h>

#ifdef VELLUM_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace vellum::bench {

namespace {

#ifdef VELLUM_BENCH_OPENCV
void addOpenCv(std::vector<Peer> &peers, const Vellum &image, const QSize &size)
{
    cv::setNumThreads(1);
    const auto run = [image, size] {
        const cv::Mat in(image.height(), image.width(), CV_8UC4,
                         const_cast<uchar *>(image.constBits()), size_t(image.bytesPerLine()));
        cv::Mat out;
        cv::resize(in, out, cv::Size(size.width(), size.height()), 0, 0, cv::INTER_AREA);
        benchmark::DoNotOptimize(out.data);
    };
    peers.push_back({"OpenCV INTER_AREA", run, 1.0});
}
#endif

#ifdef VELLUM_BENCH_VIPS
/// One run; \return the pixels, null on failure.
void *thumbnail(const Vellum &image, const QSize &size)
{
    VipsImage *const in =
        vips_image_new_from_memory(image.constBits(), size_t(image.sizeInBytes()), image.width(),
                                   image.height(), 4, VIPS_FORMAT_UCHAR);
    if (!in)
        return nullptr;
    in->Type = VIPS_INTERPRETATION_MULTIBAND; // premultiplied: no channel is special
    // As from a file: without it each tile of the result is made from the start, which takes up to
    // ten times as long.
    vips_image_set_int(in, VIPS_META_SEQUENTIAL, 1);
    VipsImage *out = nullptr;
    void *pixels = nullptr;
    if (vips_thumbnail_image(in, &out, size.width(), "height", size.height(), "size",
                             VIPS_SIZE_FORCE, nullptr) == 0) {
        size_t bytes = 0;
        pixels = vips_image_write_to_memory(out, &bytes);
        g_object_unref(out);
    }
    g_object_unref(in);
    return pixels;
}

void addVips(std::vector<Peer> &peers, const Vellum &image, const QSize &size)
{
    if (VIPS_INIT("vellum_bench") != 0)
        return;
    vips_concurrency_set(1);
    vips_cache_set_max(0); // or the second run would find the first one's
    const auto run = [image, size] {
        void *const pixels = thumbnail(image, size);
        if (!pixels)
            std::abort();
        benchmark::DoNotOptimize(pixels);
        g_free(pixels);
    };
    peers.push_back({"libvips thumbnail", run, 1.0});
}
#endif

} // namespace

std::vector<Peer> areaPeers([[maybe_unused]] const Vellum &image,
                            [[maybe_unused]] const QSize &size)
{
    std::vector<Peer> peers;
#ifdef VELLUM_BENCH_OPENCV
    addOpenCv(peers, image, size);
#endif
#ifdef VELLUM_BENCH_VIPS
    addVips(peers, image, size);
#endif
    return peers;
}

} // namespace vellum::bench
