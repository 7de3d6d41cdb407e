// SPDX-License-Identifier: Apache-2.0
// dumpsys: what services report about themselves. Stands in for Android's tool of the name, with
// its -l, -t, -T and --skip; the choice of parts of a dump (--proto, --priority) is not there.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <host/binder_host.h>
#include <host/escape.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "dump_reader.h"
#include "tool.h"

namespace {

using android::host::escaped;
using android::tools::DumpOutcome;
using android::tools::exitStatus;

constexpr int64_t kDefaultLimitMs = 10000;
constexpr int64_t kLargestLimitMs = 86400000;

constexpr const char* kUsage =
    "usage: dumpsys [-t SECONDS | -T MILLISECONDS] [-l | --skip SERVICES | SERVICE [ARGS]]\n"
    "  -l         only list the services\n"
    "  -t, -T     give up on a service after that long (10 s)\n"
    "  --skip     all services but these, separated by commas\n"
    "  SERVICE    dump this one; ARGS are passed to it. Without it: all, one after the other\n";

struct Options {
    int64_t limitMs = kDefaultLimitMs;
    bool list = false;
    std::string skip;
    std::string service;
    std::vector<std::string> args;
};

bool parseLimit(const char* text, int64_t unitMs, int64_t* limitMs) {
    char* end = nullptr;
    const long value = strtol(text, &end, 10);
    if (end == text || *end != '\0' || value <= 0 || value > kLargestLimitMs / unitMs) {
        fprintf(stderr, "dumpsys: '%s' is no time limit\n", escaped(text).c_str());
        return false;
    }
    *limitMs = value * unitMs;
    return true;
}

bool parse(int argc, char** argv, Options* options) {
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        const std::string word = argv[i];
        if (word == "-l") {
            options->list = true;
        } else if ((word == "-t" || word == "-T") && i + 1 < argc) {
            if (!parseLimit(argv[++i], word == "-t" ? 1000 : 1, &options->limitMs)) return false;
        } else if (word == "--skip" && i + 1 < argc) {
            options->skip = "," + std::string(argv[++i]) + ",";
        } else {
            fprintf(stderr, "dumpsys: '%s' is unknown or lacks its value\n%s",
                    escaped(word).c_str(), kUsage);
            return false;
        }
    }
    if (i < argc) options->service = argv[i++];
    options->args.assign(argv + i, argv + argc);
    return true;
}

bool dumpOne(const std::string& name, const Options& options) {
    const ndk::SpAIBinder binder(AServiceManager_checkService(name.c_str()));
    if (binder.get() == nullptr) {
        fprintf(stderr, "Can't find service: %s\n", escaped(name).c_str());
        return false;
    }
    fflush(stdout);
    const auto result = android::tools::copyDump(binder.get(), options.args, STDOUT_FILENO,
                                                 std::chrono::milliseconds(options.limitMs));
    switch (result.outcome) {
        case DumpOutcome::kDone:
            return exitStatus("dumpsys", 0, result.writeError) == 0;
        case DumpOutcome::kTimedOut:
            printf("\n*** SERVICE '%s' DUMP TIMEOUT (%lldms) EXPIRED ***\n\n",
                   escaped(name).c_str(), static_cast<long long>(options.limitMs));
            return false;
        case DumpOutcome::kFailed:
            fprintf(stderr, "Error dumping service info: (%d) %s\n", result.status,
                    escaped(name).c_str());
            return false;
    }
    return false;
}

bool dumpAll(const Options& options, const std::vector<std::string>& names) {
    bool good = true;
    for (const std::string& name : names) {
        if (options.skip.find("," + name + ",") != std::string::npos) continue;
        printf("%s\nDUMP OF SERVICE %s:\n", std::string(79, '-').c_str(), escaped(name).c_str());
        const auto begin = std::chrono::steady_clock::now();
        good = dumpOne(name, options) && good;
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        printf("--------- %.3fs was the duration of dumpsys %s\n", took.count(),
               escaped(name).c_str());
    }
    return good;
}

int run(int argc, char** argv) {
    if (android::tools::answersForItself(argc, argv, kUsage)) return 0;
    Options options;
    if (!parse(argc, argv, &options)) return 2;
    if (!options.service.empty() && !options.list) return dumpOne(options.service, options) ? 0 : 1;
    const std::vector<std::string> names = android::host::listServices();
    puts("Currently running services:");
    for (const std::string& name : names) printf("  %s\n", escaped(name).c_str());
    return options.list || dumpAll(options, names) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    const int status = exitStatus("dumpsys", run(argc, argv));
    // Without destructors: a dump that hangs still uses the runtime on its thread.
    _exit(status);
}
