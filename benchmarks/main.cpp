// SPDX-License-Identifier: Apache-2.0
// Measures the service and its transport against bare means to the same end, in the same run.
#include <fmt/format.h>
#include <signal.h>
#include <stdlib.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <vector>

#include "figures.h"

namespace bench {
namespace {

struct Group {
    const char* name;
    const char* what;
    void (*measure)(const Run&);
};

constexpr Group kGroups[] = {
    {"fan-call", "getFanInfo between two processes", measureCalls},
    {"system-calls", "system calls of it, by strace", measureSystemCalls},
    {"fan-out", "one callback to 64 connections", measureFanOut},
    {"start", "starting and idling", measureStart},
    {"event-thread", "what a foreign uevent costs", measureEvents},
    {"kernel-uevent", "from the kernel to a callback (root only)", measureKernelUevent},
    {"in-process", "methods without a transport", measureInProcess},
    {"certificate", "a whole certificate chain", measureCertificate},
    {"firmware", "a firmware update", measureFirmware},
    {"dump", "the state report", measureDump},
    {"recorder", "recording a library's calls", measureRecorder},
    {"dock", "a library's call with a dock in another process", measureDock},
};

std::string footer() {
    std::string text = "NAMEs, all without one:\n";
    for (const Group& group : kGroups) text += fmt::format("  {:<14} {}\n", group.name, group.what);
    return text +
           "\nA figure that misses its target is reported, not an error. Exits 1 when one could "
           "not\nbe measured because something failed, 2 on bad usage.";
}

int runBenchmarks(bool json, bool quick, const std::vector<std::string>& names) {
    unsetenv("ANDROID_LOG_TAGS");
    signal(SIGPIPE, SIG_IGN);

    Figures figures;
    Run run;
    run.quick = quick;
    run.add = [&](const Figure& figure) {
        if (!json) printFigure(figure);
        figures.push_back(figure);
    };
    if (!json) printHead();
    bool good = true;
    for (const Group& group : kGroups) {
        if (!names.empty() && std::find(names.begin(), names.end(), group.name) == names.end()) {
            continue;
        }
        try {
            group.measure(run);
        } catch (const std::exception& trouble) {
            run.add(skippedFigure(group.name, group.what, trouble.what()));
            good = false;
        }
    }
    if (json) printJson(figures);
    return good ? 0 : 1;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    CLI::App app("Measures the service against baselines of the same run.", "bench");
    bool json = false;
    bool quick = false;
    std::vector<std::string> names;
    std::vector<std::string> underStrace;
    app.add_flag("--json", json, "One JSON object instead of a table");
    app.add_flag("--quick", quick, "Fewer rounds: less time, more noise");
    app.add_option("--under-strace", underStrace)->expected(2)->group("");
    std::vector<std::string> known;
    for (const bench::Group& group : bench::kGroups) known.push_back(group.name);
    app.add_option("NAME", names, "Groups of figures to measure")->check(CLI::IsMember(known));
    app.footer(bench::footer());
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (!underStrace.empty()) {
        return bench::runUnderStrace(std::stoi(underStrace[0]), underStrace[1].c_str());
    }
    return bench::runBenchmarks(json, quick, names);
}
