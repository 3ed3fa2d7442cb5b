// Small ICC profiles of every kind, made while the test runs, and the ones the library ships.
#pragma once

#include <QByteArray>
#include <QString>

#include <lcms2.h>

#include <memory>

namespace vellum::test {

struct CloseProfile
{
    void operator()(void *profile) const { cmsCloseProfile(profile); }
};
struct DeleteTransform
{
    void operator()(void *transform) const { cmsDeleteTransform(transform); }
};
using OwnedProfile = std::unique_ptr<void, CloseProfile>;
using OwnedTransform = std::unique_ptr<void, DeleteTransform>;

QByteArray bytesOf(const OwnedProfile &profile);
OwnedProfile openBytes(const QByteArray &icc);

QByteArray matrixProfile(); ///< RGB with a wide gamut and gamma 1.8
QByteArray lutProfile(); ///< RGB through a colour lookup table that bends and mixes the channels
QByteArray greyProfile(); ///< grey with gamma 1.4
QByteArray cmykProfile(); ///< CMYK through lookup tables, both ways
QByteArray labProfile(); ///< Lab of D50 white, version 4
QByteArray srgbProfile();

/// Path of a file of the profile folder that the tests run with.
QString profileFile(const QString &name);
QByteArray readFile(const QString &path);

/// A copy of \a icc with the date in its header zeroed.
QByteArray withoutDate(QByteArray icc);

/// \a chain as lcms2's multiprofile call makes it, closing the profiles afterwards.
OwnedTransform chainTransform(std::initializer_list<cmsHPROFILE> chain, cmsUInt32Number inFormat,
                              cmsUInt32Number outFormat, cmsUInt32Number intent = 0,
                              cmsUInt32Number flags = 0);

} // namespace vellum::test
