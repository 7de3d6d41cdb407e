// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace virtual_dock {

// The function `symbol` of a library beside this one ("libvirtual_dock_crypto.so"), which is loaded
// at the first call and stays. Null, with a line on standard error, when there is none: the dock
// was built without it. Any thread.
void* moduleFunction(const char* library, const char* symbol);

}  // namespace virtual_dock
