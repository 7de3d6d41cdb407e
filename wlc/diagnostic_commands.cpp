// SPDX-License-Identifier: Apache-2.0
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "host_adapter.h"

namespace wlc {
namespace {

std::vector<const char*> pointers(const std::vector<std::string>& words) {
    std::vector<const char*> out;
    out.reserve(words.size());
    for (const std::string& word : words) out.push_back(word.c_str());
    return out;
}

std::string contents(int descriptor) {
    std::string text;
    char piece[4096];
    ssize_t got = 0;
    while ((got = pread(descriptor, piece, sizeof(piece), static_cast<off_t>(text.size()))) > 0) {
        text.append(piece, static_cast<size_t>(got));
    }
    return text;
}

// To standard output as it comes, or, through a file in memory, as one JSON object.
void dump(Context& context, const std::vector<std::string>& words) {
    AIBinder* const binder = context.service()->asBinder().get();
    if (!context.json) return check(dumpEscaped(binder, words, STDOUT_FILENO), "dump");
    const ndk::ScopedFileDescriptor file(memfd_create("dump", MFD_CLOEXEC));
    if (file.get() < 0) {
        throw refused(std::string("cannot create a file in memory: ") + std::strerror(errno));
    }
    std::vector<const char*> args = pointers(words);
    check(AIBinder_dump(binder, file.get(), args.data(), static_cast<uint32_t>(args.size())),
          "dump");
    context.printJson({{"dump", contents(file.get())}});
}

void shell(Context& context, const std::vector<std::string>& words) {
    if (words.empty()) throw badUsage("shell needs a WORD");
    binder_status_t result = STATUS_OK;
    check(shellEscaped(context.service()->asBinder().get(), words, &result), "shell");
    check(result, "shell");
    context.printJson({{"status", result}});
}

}  // namespace

void addDiagnosticCommands(CLI::App& app, Context& context) {
    CLI::App* command = app.add_subcommand("dump", "Print the service's state report");
    command->prefix_command()->fallthrough(false);
    command->callback([&context, command] { dump(context, command->remaining()); });

    CLI::App* words = app.add_subcommand(
        "shell", "Run a shell command of the service; the answer appears in the service's log");
    words->prefix_command()->fallthrough(false);
    words->callback([&context, words] { shell(context, words->remaining()); });
}

}  // namespace wlc
