#include <vellum/geometry/mirror.h>
#include <vellum/geometry/rotate.h>
#include <vellum/io/upright_p.h>

namespace vellum::io {

namespace {

using Step = QImageIOHandler::Transformation;

/// Replaces \a image by what \a operation makes of it.
template <typename Operation>
bool replace(Vellum &image, JobProgress &progress, Operation operation)
{
    const ProgressGuard guard = progress.watch(image, ProgressGuard::Positions::Percent);
    image = operation(image);
    return !image.isNull();
}

bool turn(Vellum &image, int turns, JobProgress &progress)
{
    return replace(image, progress, [turns](const Vellum &in) { return quarterTurned(in, turns); });
}

} // namespace

bool turnUpright(Vellum &image, QImageIOHandler::Transformations steps, JobProgress &progress)
{
    if (steps == QImageIOHandler::TransformationRotate270)
        return turn(image, 3, progress); // one pass where its parts would be two
    const bool horizontal = steps & Step::TransformationMirror;
    const bool vertical = steps & Step::TransformationFlip;
    const auto mirror = [=](const Vellum &in) { return mirrored(in, horizontal, vertical); };
    if ((horizontal || vertical) && !replace(image, progress, mirror))
        return false;
    return !(steps & Step::TransformationRotate90) || turn(image, 1, progress);
}

QSize uprightSize(const QSize &size, QImageIOHandler::Transformations steps)
{
    return steps & Step::TransformationRotate90 ? size.transposed() : size;
}

PictureInfo uprightInfo(PictureInfo info)
{
    info.size = uprightSize(info.size, info.transformation);
    info.dotsPerMeter = uprightSize(info.dotsPerMeter, info.transformation);
    return info;
}

QRect storedRegion(const QRect &region, const QSize &size, QImageIOHandler::Transformations steps)
{
    QRect stored = region;
    // The way back: first the turn, then the mirroring. A turn takes the left column to the top.
    if (steps & Step::TransformationRotate90) {
        stored = QRect(region.y(), size.height() - region.x() - region.width(), region.height(),
                       region.width());
    }
    if (steps & Step::TransformationMirror)
        stored.moveLeft(size.width() - stored.x() - stored.width());
    if (steps & Step::TransformationFlip)
        stored.moveTop(size.height() - stored.y() - stored.height());
    return stored;
}

} // namespace vellum::io
