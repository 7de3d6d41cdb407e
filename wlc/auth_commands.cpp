// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>

#include "authentication.h"
#include "commands.h"
#include "default_root.h"
#include "failure.h"
#include "files.h"
#include "records.h"
#include "text.h"

namespace wlc {
namespace {

constexpr size_t kLargestRootFile = 65536;

struct AuthArguments {
    int slot = 0;
    int mask = 15;
    uint16_t offset = 0;
    uint16_t length = 0;
    std::string root;
    std::string nonce;
    std::string output;
};

Certificate theRoot(const std::string& path) {
    if (path.empty() && defaultRoot().empty()) {
        throw badUsage("this program was built without a root certificate: --root FILE");
    }
    try {
        return path.empty() ? parseCertificate(defaultRoot())
                            : parseCertificate(readFile(path, kLargestRootFile));
    } catch (const NotAuthentic& reason) {
        throw badUsage(fmt::format("--root {}: {}", path, reason.what()));
    }
}

void printDigests(Context& context, const AuthArguments& arguments) {
    context.answerSeconds = Context::kAuthenticationSeconds;
    charger::WpcAuthDigests digests;
    check(context.service()->getWpcAuthDigests(static_cast<int8_t>(arguments.mask), &digests),
          "auth digests");
    context.print(describe(digests));
}

void printCertificate(Context& context, const AuthArguments& arguments) {
    context.answerSeconds = Context::kAuthenticationSeconds;
    std::vector<uint8_t> bytes;
    check(context.service()->getWpcAuthCertificate(static_cast<int8_t>(arguments.slot),
                                                   arguments.offset, arguments.length, &bytes),
          "auth certificate");
    if (!arguments.output.empty()) writeFile(arguments.output, bytes);
    Report report;
    report.field("slot", arguments.slot);
    report.field("offset", arguments.offset);
    report.field("length", bytes.size());
    report.field("certificate", toHex(bytes));
    context.print(report);
}

void printChallenge(Context& context, const AuthArguments& arguments) {
    const auto nonce = arguments.nonce.empty() ? freshNonce() : fromHex(arguments.nonce, "--nonce");
    context.answerSeconds = Context::kAuthenticationSeconds;
    charger::WpcAuthChallengeResponse response;
    check(context.service()->getWpcAuthChallengeResponse(static_cast<int8_t>(arguments.slot), nonce,
                                                         &response),
          "auth challenge");
    Report report;
    report.field("nonce", toHex(nonce));
    const Report answer = describe(response);
    for (const auto& [key, value] : answer.json().items()) report.field(key, value);
    context.print(report);
}

}  // namespace

void addAuthCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<AuthArguments>();
    const auto addSlot = [arguments](CLI::App* command) {
        command->add_option("--slot", arguments->slot, "Certificate slot, 0 to 3")
            ->type_name("N")
            ->check(CLI::Range(0, 3));
    };
    CLI::App* auth = app.add_subcommand("auth", "Have the dock prove who it is");
    auth->require_subcommand(0, 1);
    addSlot(auth);
    auth->add_option("--root", arguments->root,
                     "Certificate to trust, PEM or DER; without it the virtual dock's")
        ->type_name("FILE");
    auth->callback([&context, auth, arguments] {
        if (!auth->get_subcommands().empty()) return;
        context.answerSeconds = Context::kAuthenticationSeconds;
        const Certificate root = theRoot(arguments->root);
        authenticate(context, static_cast<uint8_t>(arguments->slot), root.get());
    });

    CLI::App* digests = auth->add_subcommand("digests", "Digests of the certificate chains");
    digests->add_option("--mask", arguments->mask, "Bit n asks for slot n")
        ->type_name("N")
        ->check(CLI::Range(0, 15));
    digests->callback([&context, arguments] { printDigests(context, *arguments); });

    CLI::App* certificate = auth->add_subcommand("certificate", "A certificate chain, or a part");
    addSlot(certificate);
    certificate->add_option("--offset", arguments->offset, "First byte of the chain")
        ->type_name("N")
        ->check(CLI::Range(0, 65535));
    certificate->add_option("--length", arguments->length, "How many bytes; 0 all, at most 1058")
        ->type_name("N")
        ->check(CLI::Range(0, 65535));
    certificate->add_option("--output", arguments->output, "Also put the bytes into a file")
        ->type_name("FILE");
    certificate->callback([&context, arguments] { printCertificate(context, *arguments); });

    CLI::App* challenge = auth->add_subcommand("challenge", "Have a nonce signed");
    addSlot(challenge);
    challenge->add_option("--nonce", arguments->nonce, "16 bytes; fresh ones without it")
        ->type_name("HEX");
    challenge->callback([&context, arguments] { printChallenge(context, *arguments); });
}

}  // namespace wlc
