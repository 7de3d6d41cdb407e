// SPDX-License-Identifier: Apache-2.0
//
// The endpoint of the recorder's libraries: the one recorder of this process.
//
// RECORDED_LIBRARY says whose functions this is linked with: kChargelink or kReverselink.
#include <dlfcn.h>

#include "recorder_library.h"

namespace virtual_dock {
namespace {

void* findNext(const char* name) {
    // dlsym goes by the place that it returns to; so this must not become a tail call.
    void* volatile function = dlsym(RTLD_NEXT, name);
    return function;
}

}  // namespace

int startEndpoint(Library library) {
    return dockRecorderStart(library, findNext);
}

Endpoint& endpoint() {
    static Endpoint* const recorder = dockRecorderEndpoint(Library::RECORDED_LIBRARY, findNext);
    return *recorder;
}

}  // namespace virtual_dock
