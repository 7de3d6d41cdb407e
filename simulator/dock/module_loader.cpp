// SPDX-License-Identifier: Apache-2.0
#include "module_loader.h"

#include <dlfcn.h>

#include <cstdio>
#include <string>

namespace virtual_dock {

void* moduleFunction(const char* library, const char* symbol) {
    std::string path = library;
    Dl_info self;
    if (dladdr(reinterpret_cast<void*>(&moduleFunction), &self) != 0) {
        const std::string own = self.dli_fname;
        path = own.substr(0, own.rfind('/') + 1) + library;
    }
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = handle == nullptr ? nullptr : dlsym(handle, symbol);
    if (function == nullptr) std::fprintf(stderr, "virtual dock: %s\n", dlerror());
    return function;
}

}  // namespace virtual_dock
