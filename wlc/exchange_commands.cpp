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

// The length is not checked here: the service refuses a wrong one with error 1.
void addExchangeCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<ExchangeArguments>();
    CLI::App* challenge =
        app.add_subcommand("challenge", "Send a challenge to the dock and print its response");
    challenge->add_option("VALUE", arguments->value, "Challenge byte, -128 to 255")
        ->type_name("")
        ->required();
    challenge->add_option("HEX", arguments->bytes, "Nonce of 8 bytes")->type_name("")->required();
    challenge->callback([&context, arguments] {
        const auto value = static_cast<int8_t>(toNumber(arguments->value, "VALUE", -128, 255));
        const auto nonce = fromHex(arguments->bytes, "HEX");
        std::vector<uint8_t> answer;
        check(context.service()->challenge(value, nonce, &answer), "challenge");
        Report report;
        report.field("response", toHex(answer));
        context.print(report);
    });

    CLI::App* exchange = app.add_subcommand("key-exchange", "Exchange keys with the dock");
    exchange->add_option("HEX", arguments->bytes, "Key of 32 bytes")->type_name("")->required();
    exchange->callback([&context, arguments] {
        charger::KeyExchangeResponse response;
        check(context.service()->keyExchange(fromHex(arguments->bytes, "HEX"), &response),
              "key-exchange");
        context.print(describe(response));
    });
}

}  // namespace wlc
