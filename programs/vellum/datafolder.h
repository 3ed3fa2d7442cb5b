// Where the colour profiles of an installed vellum are.
#pragma once

namespace vellum::tool {

/// Tells the library where its colour profiles are: below VELLUM_DATA_DIR if that is set, else
/// where they were installed relative to this program, else beside it. Needs the application
/// object; call before the first picture is made.
void setUpDataFolder();

} // namespace vellum::tool
