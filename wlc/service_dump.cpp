// SPDX-License-Identifier: Apache-2.0
#include "service_dump.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "failure.h"

namespace wlc {

std::string dumpText(Context& context, const std::vector<std::string>& args) {
    AIBinder* const binder = context.service()->asBinder().get();
    const ndk::ScopedFileDescriptor file(memfd_create("dump", MFD_CLOEXEC));
    if (file.get() < 0) {
        throw refused(std::string("cannot create a file in memory: ") + std::strerror(errno));
    }
    std::vector<const char*> pointers;
    pointers.reserve(args.size());
    for (const std::string& arg : args) pointers.push_back(arg.c_str());
    check(AIBinder_dump(binder, file.get(), pointers.data(), static_cast<uint32_t>(args.size())),
          "dump");
    std::string text;
    char piece[4096];
    ssize_t got = 0;
    while ((got = pread(file.get(), piece, sizeof(piece), static_cast<off_t>(text.size()))) > 0) {
        text.append(piece, static_cast<size_t>(got));
    }
    return text;
}

}  // namespace wlc
