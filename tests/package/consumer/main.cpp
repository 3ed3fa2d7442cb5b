// A user of the installed library: the umbrella header, Qt's public headers, nothing else.

#include <vellum/vellum.h>

#include <cstdio>

int main()
{
    Vellum picture;
    if (!Vellum::createBig(picture, 300, 200, QImage::Format_Grayscale8))
        return 1;
    picture.fill(Qt::white);
    QImage *const asQImage = &picture;
    const bool found = Vellum::getVellum(asQImage) == &picture;
    std::printf("big %d, found %d, first byte %d\n", picture.isBigImage(), found,
                picture.scanLine(199)[299]);
    return picture.isBigImage() && found && picture.scanLine(199)[299] == 255 ? 0 : 1;
}
