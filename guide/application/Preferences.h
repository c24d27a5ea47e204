// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <adwaita.h>

namespace guide {

/// Shows the window of preferences over `parent`; what is changed there is kept at once.
void showPreferences(GtkWindow* parent, GSettings* settings);

}  // namespace guide
