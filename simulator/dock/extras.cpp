// SPDX-License-Identifier: Apache-2.0
#include "extras.h"

#include <android/log.h>
#include <dlfcn.h>

#include <cstdlib>
#include <string>

namespace virtual_dock {
namespace {

const Extras* loadExtras() {
    std::string path = "libvirtual_dock_extras.so";
    Dl_info self;
    if (dladdr(reinterpret_cast<void*>(&extras), &self) != 0) {
        const std::string own = self.dli_fname;
        path = own.substr(0, own.rfind('/') + 1) + path;
    }
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const table = library == nullptr ? nullptr : dlsym(library, "virtualDockExtras");
    if (table == nullptr) {
        __android_log_print(ANDROID_LOG_FATAL, "virtual-dock", "cannot load %s: %s", path.c_str(),
                            dlerror());
        std::abort();
    }
    return static_cast<const Extras*>(table);
}

}  // namespace

const Extras& extras() {
    static const Extras* const loaded = loadExtras();
    return *loaded;
}

}  // namespace virtual_dock
