// SPDX-License-Identifier: Apache-2.0
#include "host_adapter.h"

#include <host/binder_host.h>
#include <host/escape.h>
#include <host/text_relay.h>
#include <unistd.h>

namespace wlc {

std::string escaped(std::string_view text, bool keepLineFeeds) {
    using android::host::LineFeeds;
    return android::host::escaped(text, keepLineFeeds ? LineFeeds::kKept : LineFeeds::kEscaped);
}

binder_status_t dumpEscaped(AIBinder* binder, const std::vector<std::string>& args, int to) {
    std::vector<const char*> pointers;
    pointers.reserve(args.size());
    for (const std::string& arg : args) pointers.push_back(arg.c_str());
    android::host::TextRelay out(to);
    const binder_status_t status = AIBinder_dump(binder, out.descriptor(), pointers.data(),
                                                 static_cast<uint32_t>(pointers.size()));
    out.finish();
    return status;
}

binder_status_t shellEscaped(AIBinder* binder, const std::vector<std::string>& args,
                             binder_status_t* result) {
    android::host::TextRelay out(STDOUT_FILENO);
    android::host::TextRelay err(STDERR_FILENO);
    const binder_status_t status = android::host::shellCommand(
        binder, STDIN_FILENO, out.descriptor(), err.descriptor(), args, result);
    out.finish();
    err.finish();
    return status;
}

}  // namespace wlc
