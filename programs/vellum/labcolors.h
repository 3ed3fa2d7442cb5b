// Colours as the eye sees them.
#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <lcms2.h>

#include <memory>

namespace vellum::tool {

/// Turns pixels of four samples of 16 bits, red, green, blue and alpha, into CIE Lab of D50 white.
class LabColors
{
public:
    /// \param profile  bytes of an RGB or grey profile, of the latter for grey pixels; empty for
    ///                 sRGB
    explicit LabColors(const QByteArray &profile);

    /// False when the profile is damaged or of another kind.
    bool isValid() const { return m_transform != nullptr; }

    /// Converts \a count pixels, relative to the white of the profile.
    void convert(const quint16 *pixels, cmsCIELab *colors, int count) const;

private:
    struct DeleteTransform
    {
        void operator()(void *transform) const noexcept { cmsDeleteTransform(transform); }
    };

    std::unique_ptr<void, DeleteTransform> m_transform;
};

/// dE00, the colour difference of CIE 2000: 1 is about what an eye can tell.
double colorDifference(const cmsCIELab &a, const cmsCIELab &b);

} // namespace vellum::tool
