// SPDX-License-Identifier: Apache-2.0
#include "authentication.h"

#include <fmt/format.h>
#include <openssl/rand.h>

#include <algorithm>
#include <exception>
#include <functional>

#include "failure.h"
#include "text.h"

namespace wlc {
namespace {

// The steps of one authentication: printed one by one as text, all together as JSON.
class Steps {
  public:
    explicit Steps(const Context& context) : mContext(context) {}

    // Runs a step, which returns the detail to show.
    void run(const std::string& name, const std::function<std::string()>& step) {
        try {
            add(name, true, step());
        } catch (const NotAuthentic& reason) {
            add(name, false, reason.what());
            throw Failure(kRefused, 0, "NOT_AUTHENTIC",
                          fmt::format("dock authentication failed: {}: {}", name, reason.what()),
                          {{"authentic", false}, {"steps", mSteps}});
        } catch (const Failure& failure) {
            add(name, false, failure.what());
            throw Failure(failure.exitCode(), failure.code(), failure.name(),
                          failure.exitCode() == kNoService
                              ? failure.what()
                              : fmt::format("dock authentication failed: {}", failure.what()),
                          {{"authentic", false}, {"steps", mSteps}});
        }
    }

    const Json& json() const { return mSteps; }

  private:
    void add(const std::string& name, bool passed, const std::string& detail) {
        mSteps.push_back({{"step", name}, {"passed", passed}, {"detail", detail}});
        mContext.printText(
            fmt::format("{:<4}  {:<12}  {}\n", passed ? "ok" : "FAIL", name, printable(detail)));
    }

    const Context& mContext;
    Json mSteps = Json::array();
};

Bytes digestOf(const charger::WpcAuthDigests& digests, uint8_t slot) {
    const std::array<uint8_t, 32>* const all[] = {&digests.digest0, &digests.digest1,
                                                  &digests.digest2, &digests.digest3};
    return *all[slot];
}

std::vector<uint8_t> readChainPart(Context& context, uint8_t slot, size_t offset, size_t length) {
    std::vector<uint8_t> part;
    check(context.service()->getWpcAuthCertificate(static_cast<int8_t>(slot),
                                                   static_cast<char16_t>(offset),
                                                   static_cast<char16_t>(length), &part),
          "certificate");
    return part;
}

}  // namespace

std::vector<uint8_t> freshNonce() {
    std::vector<uint8_t> nonce(kNonceSize);
    if (RAND_bytes(nonce.data(), static_cast<int>(nonce.size())) != 1) {
        throw refused("the random number generator failed");
    }
    return nonce;
}

std::vector<uint8_t> readWholeChain(Context& context, uint8_t slot) {
    // A request cannot name an offset beyond this.
    constexpr size_t kEndOfChain = 2048;
    std::vector<uint8_t> chain = readChainPart(context, slot, 0, 0);
    const size_t length = chainLength(chain);
    while (chain.size() < length && chain.size() < kEndOfChain) {
        const std::vector<uint8_t> rest =
            readChainPart(context, slot, chain.size(), length - chain.size());
        if (rest.empty()) break;
        chain.insert(chain.end(), rest.begin(), rest.end());
    }
    return chain;
}

void authenticate(Context& context, uint8_t slot, const TrustedRoot& root,
                  const std::vector<uint8_t>& nonce) {
    Steps steps(context);
    charger::WpcAuthDigests digests;
    std::vector<uint8_t> bytes;
    CertificateChain chain;

    steps.run("readiness", [&] {
        bool ready = false;
        check(context.service()->isAuthReady(&ready), "isAuthReady");
        if (!ready) throw NotAuthentic("the charger is not ready to authenticate");
        return std::string("the charger is ready");
    });
    steps.run("digests", [&] {
        check(context.service()->getWpcAuthDigests(static_cast<int8_t>(1 << slot), &digests),
              "digests");
        if ((digests.slotPopulatedMask >> slot & 1) == 0) {
            throw NotAuthentic(fmt::format("slot {} holds no certificate chain", slot));
        }
        if ((digests.digestMask >> slot & 1) == 0) {
            throw NotAuthentic(fmt::format("the dock sent no digest for slot {}", slot));
        }
        return fmt::format("slot {} has {}", slot, toHex(digestOf(digests, slot)));
    });
    steps.run("chain", [&] {
        bytes = readWholeChain(context, slot);
        chain = parseChain(bytes);
        const Bytes digest = digestOf(digests, slot);
        if (!std::equal(digest.begin(), digest.end(), chain.hash.begin(), chain.hash.end())) {
            throw NotAuthentic("the digest does not match the chain, whose digest is " +
                               toHex(chain.hash));
        }
        return fmt::format("{} bytes, {} certificates, digest matches", bytes.size(),
                           chain.certificates.size());
    });
    X509* const trusted = root.certificate.get();
    if (trusted != nullptr) {
        steps.run("root", [&] {
            checkRoot(chain, trusted);
            return commonName(X509_get_subject_name(trusted));
        });
        steps.run("certificates", [&] {
            checkSignatures(chain, trusted);
            return "signed by " + commonName(X509_get_issuer_name(chain.productUnit()));
        });
    }
    charger::WpcAuthChallengeResponse response;
    steps.run("challenge", [&] {
        check(context.service()->getWpcAuthChallengeResponse(static_cast<int8_t>(slot), nonce,
                                                             &response),
              "challenge");
        checkChallenge(chain, slot, nonce,
                       {.maxProtocolVersion = static_cast<uint8_t>(response.maxProtocolVersion),
                        .slotPopulatedMask = static_cast<uint8_t>(response.slotPopulatedMask),
                        .certChainHashLsb = static_cast<uint8_t>(response.certChainHashLsb),
                        .signatureR = response.signatureR,
                        .signatureS = response.signatureS});
        return std::string("the dock holds the product unit's key");
    });

    const std::string subject = commonName(X509_get_subject_name(chain.productUnit()));
    const std::string issuer = commonName(X509_get_issuer_name(chain.productUnit()));
    const std::string serial = serialNumber(chain.productUnit());
    const std::string identity =
        fmt::format("{}, serial {}, issued by {}", printable(subject), serial, printable(issuer));
    Json result = {{"authentic", trusted != nullptr},
                   {"slot", slot},
                   {"dock", {{"subject", subject}, {"issuer", issuer}, {"serialNumber", serial}}},
                   {"maxProtocolVersion", response.maxProtocolVersion},
                   {"steps", steps.json()}};
    if (trusted == nullptr) {
        const std::string rootHash = toHex(chain.rootHash);
        result["rootHash"] = rootHash;
        context.printText(fmt::format(
            "\nThe dock claims to be {},\nunder the root with SHA-256 {}.\n", identity, rootHash));
        throw Failure(kRefused, 0, "NOT_TRUSTED",
                      "nothing was trusted: the root certificate was not checked; name yours with "
                      "--root FILE, or pass --virtual-dock for the virtual dock",
                      std::move(result));
    }
    if (root.keysArePublic) result["keysArePublic"] = true;
    context.printText(fmt::format(
        "\nThe dock is genuine: {}.\n{}", identity,
        root.keysArePublic ? "The virtual dock's private keys are public: anybody can pass.\n"
                           : ""));
    context.printJson(result);
}

}  // namespace wlc
