// Reloading the window's bookmark lists after the online bookmark library imported something.
// The window shows no bookmark lists, so there is nothing to reload.
#include "ui/mac_view_controller.h"

namespace gs {

void MacViewController::refreshBookmarkCaches() {}

}  // namespace gs
