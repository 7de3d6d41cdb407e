// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>

#include "commands.h"

namespace virtual_dock {
namespace {

// The library that this is a part of.
std::string ownPath() {
    Dl_info info;
    const bool found = dladdr(reinterpret_cast<const void*>(&ownPath), &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "libvirtual_dock.so";
}

std::string stopRecording(Recorder* recorder) {
    const TraceWriter::State state = recorder->stop();
    if (state.path.empty()) return refusal("nothing is being recorded");
    if (!state.problem.empty()) {
        return refusal(state.problem + "; the recording ended there, after " +
                       std::to_string(state.lines) + " lines");
    }
    return toLine({{"ok", true}, {"file", textJson(state.path)}, {"lines", state.lines}});
}

}  // namespace

std::string runRecord(VirtualDock* dock, const std::vector<std::string>& words) {
    const std::string& path = words[1];
    if (path == "stop") return stopRecording(&dock->recorder());
    // It would be relative to where this process happens to run.
    if (path.empty() || path[0] != '/' || path.find('\0') != std::string::npos) {
        return usageError("record takes an absolute path or stop, not \"" + path + "\"");
    }
    std::string problem;
    if (!dock->recorder().start(path, {ownPath()}, &problem)) return refusal(problem);
    return doneReply();
}

}  // namespace virtual_dock
