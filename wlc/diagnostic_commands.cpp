// SPDX-License-Identifier: Apache-2.0
#include <host/binder_host.h>
#include <host/text_relay.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"

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

// The report to standard output as it comes, or through a file in memory into one JSON text.
void dump(Context& context, const std::vector<std::string>& words) {
    AIBinder* const binder = context.service()->asBinder().get();
    std::vector<const char*> args = pointers(words);
    const auto count = static_cast<uint32_t>(args.size());
    if (!context.json) {
        android::host::TextRelay out(STDOUT_FILENO);
        const binder_status_t status = AIBinder_dump(binder, out.descriptor(), args.data(), count);
        out.finish();
        return check(status, "dump");
    }
    const ndk::ScopedFileDescriptor file(memfd_create("dump", MFD_CLOEXEC));
    if (file.get() < 0) throw refused(std::string("no memory file: ") + std::strerror(errno));
    check(AIBinder_dump(binder, file.get(), args.data(), count), "dump");
    context.printJson({{"dump", contents(file.get())}});
}

void shell(Context& context, const std::vector<std::string>& words) {
    if (words.empty()) throw badUsage("shell needs a WORD");
    AIBinder* const binder = context.service()->asBinder().get();
    binder_status_t result = STATUS_OK;
    android::host::TextRelay out(STDOUT_FILENO);
    android::host::TextRelay err(STDERR_FILENO);
    const binder_status_t status = host::binder::shellCommand(
        binder, STDIN_FILENO, out.descriptor(), err.descriptor(), words, &result);
    out.finish();
    err.finish();
    check(status, "shell");
    check(result, "shell");
    context.printJson({{"status", result}});
}

}  // namespace

void addDiagnosticCommands(CLI::App& app, Context& context) {
    CLI::App* command = app.add_subcommand("dump", "The service's report about itself");
    command->prefix_command()->fallthrough(false);
    command->callback([&context, command] { dump(context, command->remaining()); });

    CLI::App* words = app.add_subcommand("shell", "A shell command; the service's log answers it");
    words->prefix_command()->fallthrough(false);
    words->callback([&context, words] { shell(context, words->remaining()); });
}

}  // namespace wlc
