// SPDX-License-Identifier: Apache-2.0
#include "scenario.h"

#include <fmt/format.h>
#include <virtual_dock/client.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <thread>

#include "dock/protocol.h"
#include "dock/words.h"
#include "print.h"

namespace dockctl {
namespace {

using std::chrono::milliseconds;
using virtual_dock::Connection;
using virtual_dock::Operation;
using Words = std::vector<std::string>;

constexpr milliseconds kWaitLimit(30'000);
constexpr double kMaxSeconds = 24 * 60 * 60;
constexpr int64_t kMaxRepeats = 1'000'000;

struct Step {
    enum class Kind { kCommand, kSleep, kWait, kRepeat, kEnd };
    Kind kind = Kind::kCommand;
    std::string place;  // "FILE:LINE: "
    Invocation invocation;
    milliseconds time{0};  // kSleep; the limit of kWait
    std::string event;     // kWait, as it stands there
    std::string operation;
    std::optional<int32_t> type;
    int64_t count = 0;  // kRepeat
};

// Splits at spaces that are not between quotes, and drops the quotes. Nothing from a # on.
Words splitLine(const std::string& line) {
    Words words;
    bool inWord = false;
    char quote = '\0';
    for (const char c : line) {
        const bool quoted = quote != '\0';
        const bool marks = quoted ? c == quote : c == '\'' || c == '"';
        if (!quoted && (c == ' ' || c == '\t' || c == '\r')) {
            inWord = false;
            continue;
        }
        if (!quoted && !inWord && c == '#') break;
        if (!inWord) words.emplace_back();
        inWord = true;
        if (marks) {
            quote = quoted ? '\0' : c;
        } else {
            words.back() += c;
        }
    }
    if (quote != '\0') throw UsageError("a quote without its end");
    return words;
}

milliseconds parseSeconds(const std::string& word) {
    double seconds = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, seconds);
    if (error != std::errc() || stop != end || !(seconds >= 0 && seconds <= kMaxSeconds)) {
        throw UsageError(
            fmt::format("\"{}\" is not a number of seconds from 0 to {}", word, kMaxSeconds));
    }
    return milliseconds(static_cast<int64_t>(seconds * 1000));
}

void parseEvent(const std::string& word, Step* step) {
    const size_t colon = word.find(':');
    Operation operation;
    step->event = word;
    step->operation = word.substr(0, colon);
    if (!virtual_dock::operationFromName(step->operation, &operation)) {
        throw UsageError(virtual_dock::unknownName("operation", step->operation,
                                                   virtual_dock::operationNames()));
    }
    if (colon == std::string::npos) return;
    const auto type = virtual_dock::parseNumber(word.substr(colon + 1), INT32_MIN, INT32_MAX);
    if (!type) throw UsageError("\"" + word + "\" has no number for a type");
    step->type = static_cast<int32_t>(*type);
}

Step parseStep(const Words& words) {
    Step step;
    if (words[0] == "sleep" && words.size() == 2) {
        step.kind = Step::Kind::kSleep;
        step.time = parseSeconds(words[1]);
    } else if (words[0] == "wait" && (words.size() == 2 || words.size() == 3)) {
        step.kind = Step::Kind::kWait;
        parseEvent(words[1], &step);
        step.time = words.size() == 3 ? parseSeconds(words[2]) : kWaitLimit;
    } else if (words[0] == "repeat" && words.size() == 2) {
        step.kind = Step::Kind::kRepeat;
        step.count = virtual_dock::parseNumber(words[1], 1, kMaxRepeats).value_or(0);
        if (step.count == 0) throw UsageError("\"" + words[1] + "\" is not a count from 1");
    } else if (words[0] == "end" && words.size() == 1) {
        step.kind = Step::Kind::kEnd;
    } else {
        for (const char* own : {"sleep", "wait", "repeat", "end"}) {
            if (words[0] == own) throw UsageError("wrong arguments (see dockctl run --help)");
        }
        step.invocation = parseArguments(words);
        if (step.invocation.show == Show::kRun || step.invocation.show == Show::kFollow) {
            throw UsageError("not in a scenario");
        }
    }
    return step;
}

// Throws UsageError with the place in front.
std::vector<Step> readSteps(const std::string& file, std::istream& in) {
    std::vector<Step> steps;
    std::vector<std::string> open;  // the places of repeats without their end
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string place = fmt::format("{}:{}: ", file, number);
        try {
            const Words words = splitLine(line);
            if (words.empty()) continue;
            steps.push_back(parseStep(words));
            steps.back().place = place;
            if (steps.back().kind == Step::Kind::kRepeat) open.push_back(place);
            if (steps.back().kind != Step::Kind::kEnd) continue;
            if (open.empty()) throw UsageError("end without repeat");
            open.pop_back();
        } catch (const UsageError& error) {
            throw UsageError(place + error.what());
        }
    }
    if (!open.empty()) throw UsageError(open.back() + "repeat without end");
    return steps;
}

// The requests that the dock gets while a scenario runs.
class Requests {
  public:
    Requests() { mConnection.ask("follow"); }

    void forgetThoseSoFar() {
        while (mConnection.waitForLine(milliseconds(0))) mConnection.receive();
    }

    // False when the limit passes first.
    bool waitFor(const Step& step) {
        const auto end = std::chrono::steady_clock::now() + step.time;
        for (;;) {
            const auto rest = end - std::chrono::steady_clock::now();
            const auto limit = std::chrono::ceil<milliseconds>(rest);
            if (!mConnection.waitForLine(std::max(limit, milliseconds(0)))) return false;
            const Json entry = Json::parse(mConnection.receive());
            if (entry.value("operation", "") != step.operation) continue;
            if (!step.type || entry.value("type", -1) == *step.type) return true;
        }
    }

  private:
    Connection mConnection;
};

int runStep(const Step& step, Requests* requests, Session* session) {
    session->setPlace(step.place);
    switch (step.kind) {
        case Step::Kind::kSleep:
            std::this_thread::sleep_for(step.time);
            return kDone;
        case Step::Kind::kWait:
            if (requests->waitFor(step)) return kDone;
            return session->report("refused",
                                   fmt::format("no {} came within {} s", step.event,
                                               static_cast<double>(step.time.count()) / 1000),
                                   kRefused);
        case Step::Kind::kCommand:
            requests->forgetThoseSoFar();
            return session->carryOut(step.invocation);
        default:
            return kDone;
    }
}

int runSteps(const std::vector<Step>& steps, Session* session) {
    struct Loop {
        size_t start;
        int64_t rounds;
    };
    std::vector<Loop> loops;
    Requests requests;
    for (size_t i = 0; i < steps.size(); ++i) {
        if (steps[i].kind == Step::Kind::kRepeat) loops.push_back({i, steps[i].count});
        if (steps[i].kind == Step::Kind::kEnd) {
            if (--loops.back().rounds > 0) {
                i = loops.back().start;
            } else {
                loops.pop_back();
            }
        }
        const int code = runStep(steps[i], &requests, session);
        if (code != kDone) return code;
        if (std::fflush(stdout) != 0) return kRefused;
    }
    return kDone;
}

}  // namespace

int runScenario(const std::string& file, Session* session) {
    std::ifstream opened;
    if (file != "-") opened.open(file);
    if (file != "-" && !opened) return session->report("usage", "cannot read " + file, kUsage);
    try {
        return runSteps(readSteps(file, file == "-" ? std::cin : opened), session);
    } catch (const UsageError& error) {
        return session->report("usage", error.what(), kUsage);
    } catch (const virtual_dock::NoDock& error) {
        return session->report("no-dock", error.what(), kNoDock);
    }
}

}  // namespace dockctl
