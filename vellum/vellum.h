// Umbrella header: brings every public header of the library.
#pragma once

#include <vellum/color/convertcolors.h>
#include <vellum/color/lcmsmanager.h>
#include <vellum/color/profileinfo.h>
#include <vellum/color/renderingintent.h>
#include <vellum/convert/convert.h>
#include <vellum/export.h>
#include <vellum/geometry/mirror.h>
#include <vellum/geometry/rotate.h>
#include <vellum/image/attachments.h>
#include <vellum/image/imagedraw.h>
#include <vellum/image/progress.h>
#include <vellum/image/rowaccess.h>
#include <vellum/image/rowblocks.h>
#include <vellum/image/storage.h>
#include <vellum/image/vellum.h>
#include <vellum/io/hrlecheck.h>
#include <vellum/io/hrlehandler.h>
#include <vellum/io/hrleheader.h>
#include <vellum/io/imagewriterex.h>
#include <vellum/io/plugins.h>
#include <vellum/io/readoptions.h>
#include <vellum/scale/sampling.h>
#include <vellum/scale/scale.h>
#include <vellum/scale/scalecrop.h>
#include <vellum/scale/smoothscaled.h>
