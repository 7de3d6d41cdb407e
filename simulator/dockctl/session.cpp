// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <virtual_dock/client.h>

#include <chrono>
#include <cstdio>

#include "dock/words.h"
#include "print.h"

namespace dockctl {
namespace {

using virtual_dock::Connection;

std::string joinWords(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty()) line += ' ';
        line += virtual_dock::encodeWord(word);
    }
    return line;
}

void showOutcome(const Json& reply) {
    if (!reply.contains("uevent")) return;
    const Json& uevent = reply["uevent"];
    if (uevent["sent"]) {
        say(stdout, "uevent sent ({})\n", uevent["by"].get<std::string>());
    } else {
        say(stderr, "dockctl: the dock changed, but no uevent was sent: {}\n",
            uevent["reason"].get<std::string>());
    }
}

}  // namespace

int Session::report(const std::string& kind, const std::string& message, int code) const {
    if (mJson) {
        const Json error = {{"ok", false}, {"kind", kind}, {"message", mPlace + message}};
        say(stdout, "{}\n", toText(error));
    } else {
        say(stderr, "dockctl: {}\n", mPlace + message);
    }
    return code;
}

// Shows log entries until the reply that ends them; a follower's never comes.
int Session::showLog(const Invocation& invocation) {
    const bool follow = invocation.show == Show::kFollow;
    Connection connection;
    connection.send(joinWords(invocation.words));
    for (;;) {
        if (follow) connection.waitForLine(std::chrono::milliseconds(-1));
        Json line = Json::parse(connection.receive());
        if (line.contains("ok")) {
            if (!follow) return kDone;
            continue;
        }
        if (!line.contains("lost")) explainLogEntry(&line);
        if (mJson) {
            say(stdout, "{}\n", toText(line));
        } else {
            printLogEntry(line);
        }
        // A follower whose reader has gone learns it here, or ends by SIGPIPE.
        if (std::fflush(stdout) != 0) return kRefused;
    }
}

int Session::ask(const Invocation& invocation) {
    const Json reply = Json::parse(Connection().ask(joinWords(invocation.words)));
    if (!reply.value("ok", false)) {
        const std::string kind = reply.value("kind", "refused");
        return report(kind, reply.value("message", ""), kind == "usage" ? kUsage : kRefused);
    }
    if (mJson) {
        say(stdout, "{}\n", toText(reply));
    } else if (invocation.show == Show::kStatus) {
        printStatus(reply);
    } else if (invocation.show == Show::kKeys) {
        printKeys(reply);
    } else if (invocation.show == Show::kValues) {
        printValues(reply);
    } else if (invocation.show == Show::kRecording) {
        printRecording(reply);
    } else {
        showOutcome(reply);
    }
    return kDone;
}

int Session::carryOut(const Invocation& invocation) {
    try {
        switch (invocation.show) {
            case Show::kText:
                std::fputs(invocation.text.c_str(), stdout);
                return kDone;
            case Show::kLog:
            case Show::kFollow:
                return showLog(invocation);
            default:
                return ask(invocation);
        }
    } catch (const virtual_dock::NoDock& error) {
        return report("no-dock", error.what(), kNoDock);
    } catch (const Json::exception& error) {
        return report("no-dock", std::string("the dock's reply makes no sense: ") + error.what(),
                      kNoDock);
    }
}

}  // namespace dockctl
