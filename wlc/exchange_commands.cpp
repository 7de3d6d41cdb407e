// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "commands.h"
#include "failure.h"
#include "records.h"
#include "text.h"

namespace wlc {
namespace {

struct ExchangeArguments {
    std::string value;
    std::string bytes;
};

}  // namespace

// The service itself refuses bytes of the wrong number, with error 1; they are handed on.
void addExchangeCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<ExchangeArguments>();
    CLI::App* challenge =
        app.add_subcommand("challenge", "Send the dock a nonce, print its answer");
    challenge->add_option("VALUE", arguments->value, "Passed on as it is, -128 to 255")->required();
    challenge->add_option("HEX", arguments->bytes, "The nonce, 8 bytes")->required();
    challenge->callback([&context, arguments] {
        const auto value = static_cast<int8_t>(toNumber(arguments->value, "VALUE", -128, 255));
        const auto nonce = fromHex(arguments->bytes, "HEX");
        std::vector<uint8_t> answer;
        check(context.service()->challenge(value, nonce, &answer), "challenge");
        Report report;
        report.field("response", toHex(answer));
        context.print(report);
    });

    CLI::App* exchange = app.add_subcommand("key-exchange", "Send the dock a key, print its own");
    exchange->add_option("HEX", arguments->bytes, "The key, 32 bytes")->required();
    exchange->callback([&context, arguments] {
        charger::KeyExchangeResponse response;
        check(context.service()->keyExchange(fromHex(arguments->bytes, "HEX"), &response),
              "key-exchange");
        context.print(describe(response));
    });
}

}  // namespace wlc
