// Makes share/color/icc/XYZ-D50-Identity-vorn-V4.icc: the identity on XYZ, version 4, D50.
//
// Usage: makexyzprofile FILE

#include <lcms2.h>

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: makexyzprofile FILE\n");
        return 2;
    }
    const cmsHPROFILE profile = cmsCreateXYZProfile();
    const bool written = profile && cmsSaveProfileToFile(profile, argv[1]);
    if (profile)
        cmsCloseProfile(profile);
    if (!written)
        std::fprintf(stderr, "makexyzprofile: cannot write %s\n", argv[1]);
    return written ? 0 : 1;
}
