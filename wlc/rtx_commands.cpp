// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "failure.h"
#include "records.h"

namespace wlc {
namespace {

void switchRtx(Context& context, bool on) {
    check(context.service()->setRtxMode(on), on ? "rtx on" : "rtx off");
    bool active = false;
    check(context.service()->isRtxModeOn(&active), "rtx");
    Report report;
    report.field("on", active);
    context.print(report);
}

}  // namespace

void addRtxCommands(CLI::App& app, Context& context) {
    CLI::App* rtx = app.add_subcommand("rtx", "Read and switch reverse charging of another device");
    rtx->require_subcommand(1);
    rtx->add_subcommand("status", "Print the mode, the other device and errors")
        ->callback([&context] {
            charger::RtxStatusInfo info;
            check(context.service()->getRtxInformation(&info), "rtx status");
            context.print(describe(info));
        });
    rtx->add_subcommand("on", "Turn reverse charging on")->callback([&context] {
        switchRtx(context, true);
    });
    rtx->add_subcommand("off", "Turn reverse charging off")->callback([&context] {
        switchRtx(context, false);
    });
    rtx->add_subcommand("supported", "Print whether the phone supports it")->callback([&context] {
        bool supported = false;
        check(context.service()->isRtxSupported(&supported), "rtx supported");
        Report report;
        report.field("supported", supported);
        context.print(report);
    });
}

}  // namespace wlc
