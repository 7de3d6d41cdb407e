// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <memory>

#include "authentication.h"
#include "commands.h"
#include "failure.h"
#include "files.h"
#include "records.h"
#include "text.h"
#include "virtual_dock_root.h"

namespace wlc {
namespace {

constexpr size_t kLargestRootFile = 65536;

struct AuthArguments {
    int slot = 0;
    int mask = 15;
    uint16_t offset = 0;
    uint16_t length = 0;
    std::string root;
    bool virtualDock = false;
    std::string nonce;
    std::string output;
};

TrustedRoot trustedRoot(const AuthArguments& arguments) {
    if (arguments.virtualDock) {
        const std::string_view pem = kVirtualDockRoot;
        return {parseCertificate({reinterpret_cast<const uint8_t*>(pem.data()), pem.size()}), true};
    }
    if (arguments.root.empty()) return {};
    try {
        return {parseCertificate(readFile(arguments.root, kLargestRootFile)), false};
    } catch (const NotAuthentic& reason) {
        throw badUsage(fmt::format("--root {}: {}", arguments.root, reason.what()));
    }
}

std::vector<uint8_t> nonceOf(const AuthArguments& arguments) {
    return arguments.nonce.empty() ? freshNonce() : fromHex(arguments.nonce, "--nonce");
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
    const auto nonce = nonceOf(arguments);
    context.answerSeconds = Context::kAuthenticationSeconds;
    charger::WpcAuthChallengeResponse response;
    check(context.service()->getWpcAuthChallengeResponse(static_cast<int8_t>(arguments.slot), nonce,
                                                         &response),
          "auth challenge");
    Report report;
    report.field("nonce", toHex(nonce));
    const Report answer = describe(response);
    report.append(answer);
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
    CLI::App* auth = app.add_subcommand("auth", "Authenticate the dock");
    auth->require_subcommand(0, 1);
    addSlot(auth);
    CLI::Option* root =
        auth->add_option("--root", arguments->root, "Root certificate to trust, PEM or DER")
            ->type_name("FILE");
    auth->add_flag("--virtual-dock", arguments->virtualDock,
                   "Trust the virtual dock's root certificate, whose private keys are public")
        ->excludes(root);
    auth->add_option("--nonce", arguments->nonce,
                     "Nonce of 16 bytes; random by default. A fixed one proves nothing, since its "
                     "answer may be an old one: for recordings to compare")
        ->type_name("HEX")
        ->check([](const std::string& hex) {
            return hex.size() == 2 * kNonceSize ? "" : "a nonce has 16 bytes, 32 hex digits";
        });
    auth->callback([&context, auth, arguments] {
        if (!auth->get_subcommands().empty()) return;
        context.answerSeconds = Context::kAuthenticationSeconds;
        authenticate(context, static_cast<uint8_t>(arguments->slot), trustedRoot(*arguments),
                     nonceOf(*arguments));
    });

    CLI::App* digests =
        auth->add_subcommand("digests", "Print the digests of the certificate chains");
    digests->add_option("--mask", arguments->mask, "Slots to ask for: bit n stands for slot n")
        ->type_name("N")
        ->check(CLI::Range(0, 15));
    digests->callback([&context, arguments] { printDigests(context, *arguments); });

    CLI::App* certificate =
        auth->add_subcommand("certificate", "Read a certificate chain or part of it");
    addSlot(certificate);
    certificate->add_option("--offset", arguments->offset, "Offset of the first byte in the chain")
        ->type_name("N")
        ->check(CLI::Range(0, 65535));
    certificate
        ->add_option("--length", arguments->length,
                     "Number of bytes; 0 for the whole chain, up to 1058")
        ->type_name("N")
        ->check(CLI::Range(0, 65535));
    certificate->add_option("--output", arguments->output, "Also write the bytes to FILE")
        ->type_name("FILE");
    certificate->callback([&context, arguments] { printCertificate(context, *arguments); });

    CLI::App* challenge = auth->add_subcommand("challenge", "Have the dock sign a nonce");
    addSlot(challenge);
    challenge->add_option("--nonce", arguments->nonce, "Nonce of 16 bytes; random by default")
        ->type_name("HEX");
    challenge->callback([&context, arguments] { printChallenge(context, *arguments); });
}

}  // namespace wlc
