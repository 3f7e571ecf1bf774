// The program's one desktop identity. Its .desktop file, AppStream component and icon carry
// this name, and the window reports it (QGuiApplication::setDesktopFileName) so that desktops
// match the running window to its launcher and icon; on Wayland it is the window's app id.
#pragma once

namespace gs {

inline constexpr char kApplicationId[] = "com.brellowmik.Glimmerscape";

}  // namespace gs
