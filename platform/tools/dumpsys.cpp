// SPDX-License-Identifier: Apache-2.0
// dumpsys: what services report about themselves. Stands in for Android's tool of the name, with
// its -l, -t, -T, --skip, --pid and --thread; the choice of parts of a dump (--proto, --priority)
// is not there. Android's --thread prints how many threads of the pool are in use, which only the
// kernel's binder driver knows; this one prints which threads the process has.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <dirent.h>
#include <host/binder_host.h>
#include <host/escape.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <memory>
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
    "usage: dumpsys [-t SECONDS | -T MILLISECONDS] [--pid] [--thread]\n"
    "               [-l | --skip SERVICES | SERVICE [ARGS]]\n"
    "  -l         only list the services\n"
    "  -t, -T     give up on a service after that long (10 s)\n"
    "  --pid      instead of a dump: the process that hosts the service\n"
    "  --thread   instead of a dump: how many threads that process has, also by name (those "
    "called\n"
    "             binder serve calls, as the main one does); which are busy cannot be seen\n"
    "  --skip     all services but these, separated by commas\n"
    "  SERVICE    dump this one; ARGS are passed to it. Without it: all, one after the other\n";

struct Options {
    int64_t limitMs = kDefaultLimitMs;
    bool list = false;
    bool pid = false;
    bool threads = false;
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
        } else if (word == "--pid") {
            options->pid = true;
        } else if (word == "--thread") {
            options->threads = true;
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

bool notFound(const std::string& name) {
    fprintf(stderr, "Can't find service: %s\n", escaped(name).c_str());
    return false;
}

// The threads of a process by name. Empty when it has ended.
std::map<std::string, int> threadsOf(pid_t pid) {
    std::map<std::string, int> threads;
    const std::string folder = "/proc/" + std::to_string(pid) + "/task";
    const std::unique_ptr<DIR, int (*)(DIR*)> tasks(opendir(folder.c_str()), closedir);
    while (const dirent* task = tasks ? readdir(tasks.get()) : nullptr) {
        std::string name;
        std::ifstream in(folder + "/" + task->d_name + "/comm");
        if (task->d_name[0] != '.' && std::getline(in, name)) ++threads[name];
    }
    return threads;
}

bool showProcess(const std::string& name, const Options& options) {
    const std::vector<std::string> names = android::host::listServices();
    if (std::find(names.begin(), names.end(), name) == names.end()) return notFound(name);
    const pid_t pid = android::host::serverOf(name);
    const std::map<std::string, int> threads = threadsOf(pid);
    if (threads.empty()) {
        fprintf(stderr, "dumpsys: the process of %s cannot be seen\n", escaped(name).c_str());
        return false;
    }
    if (options.pid) printf("%d\n", pid);
    if (!options.threads) return true;
    int total = 0;
    for (const auto& [thread, count] : threads) total += count;
    printf("Threads: %d\n", total);
    for (const auto& [thread, count] : threads) {
        printf("  %s: %d\n", escaped(thread).c_str(), count);
    }
    return true;
}

bool dumpOne(const std::string& name, const Options& options) {
    if (options.pid || options.threads) return showProcess(name, options);
    const ndk::SpAIBinder binder(AServiceManager_checkService(name.c_str()));
    if (binder.get() == nullptr) return notFound(name);
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
