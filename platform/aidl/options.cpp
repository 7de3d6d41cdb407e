// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace aidlc {

const char kUsage[] =
    R"(usage: aidl --lang=ndk --structured [--stability=vintf] [--version N --hash HASH]
            [-I DIR]... -o DIR -h DIR FILE...
       aidl --dumpapi [--structured] [--stability=vintf] [-I DIR]... --out DIR FILE...
       aidl --checkapi=equal OLD_DIR NEW_DIR

Turns AIDL files into C++ for the NDK backend.

  --lang=ndk          the only language there is
  --structured        types are declared with all their fields (always so)
  --stability=vintf   types may be marked @VintfStability
  --version N         the interface's version, 1 or higher
  --hash HASH         the hash of that version's API, in hexadecimal digits; needs --version
  -I DIR              where imported files are looked for; may be given several times
  -o DIR, --out DIR   where sources, or the API dump, are written
  -h DIR              where headers are written
  --dumpapi           writes the API of each file in its normal form, one file a type
  --checkapi=equal    compares two such dumps; they must say the same

Exit status: 0 done; 1 the files or the arguments have errors, each told on standard error.
)";

namespace {

class OptionParser {
  public:
    OptionParser(const std::vector<std::string>& arguments, Diagnostics* diagnostics)
        : mArguments(arguments), mDiagnostics(*diagnostics) {}

    std::optional<Options> run() {
        while (mNext < mArguments.size()) {
            const std::string& argument = mArguments[mNext++];
            if (argument == "--help") {
                mOptions.task = Options::Task::Help;
                return mOptions;
            }
            if (argument.empty()) {
                mDiagnostics.error("an argument is empty; name a file or leave it out");
            } else if (argument[0] != '-') {
                mOptions.files.push_back(argument);
            } else {
                option(argument);
            }
        }
        complete();
        return mDiagnostics.hasErrors() ? std::nullopt : std::optional<Options>(mOptions);
    }

  private:
    void option(const std::string& argument) {
        const size_t equals = argument.find('=');
        const bool isLong = argument.starts_with("--");
        mName = isLong ? argument.substr(0, equals) : argument.substr(0, 2);
        mInline.reset();
        if (isLong && equals != std::string::npos) {
            mInline = argument.substr(equals + 1);
        } else if (!isLong && argument.size() > 2) {
            mInline = argument.substr(2);
        }
        if (mName == "-I") {
            addTo(&mOptions.importFolders);
        } else if (mName == "-o" || mName == "--out") {
            mOptions.sourceFolder = value();
        } else if (mName == "-h" || mName == "--header_out") {
            mOptions.headerFolder = value();
        } else if (mName == "--lang") {
            mHasLanguage = true;
            only("ndk", "only C++ for the NDK is generated");
        } else if (mName == "--stability") {
            only("vintf", "no other stability is known");
            mOptions.checks.vintf = true;
        } else if (mName == "--version") {
            version();
        } else if (mName == "--hash") {
            hash();
        } else if (mName == "--checkapi") {
            mOptions.task = Options::Task::CheckApi;
            // Without a value it would mean compatibility, which is another question.
            if (!mInline || *mInline != "equal") {
                mDiagnostics.error("write --checkapi=equal; compatibility is not checked");
            }
        } else if (mName == "--dumpapi") {
            mOptions.task = Options::Task::DumpApi;
            flag();
        } else if (mName == "--structured" || mName == "--omit_invocation") {
            flag();
        } else {
            mDiagnostics.error("there is no option '" + mName + "'; see --help");
        }
    }

    std::string value() {
        if (mInline) {
            return *mInline;
        }
        if (mNext >= mArguments.size()) {
            mDiagnostics.error("'" + mName + "' needs a value after it");
            return "";
        }
        return mArguments[mNext++];
    }
    void addTo(std::vector<std::string>* list) { list->push_back(value()); }
    void flag() {
        if (mInline) {
            mDiagnostics.error("'" + mName + "' takes no value");
        }
    }
    void only(const std::string& wanted, const std::string& why) {
        const std::string given = value();
        if (given != wanted) {
            mDiagnostics.error("'" + mName + "=" + given + "' is not supported: " + why +
                               "; write " + mName + "=" + wanted);
        }
    }

    void version() {
        const std::string text = value();
        const bool isNumber =
            !text.empty() && text.size() <= 6 &&
            std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
        for (size_t i = 0; isNumber && i < text.size(); ++i) {
            mOptions.generator.version = mOptions.generator.version * 10 + (text[i] - '0');
        }
        if (mOptions.generator.version < 1) {
            mDiagnostics.error("'" + text + "' is no version; write a number from 1 to 999999");
        }
    }

    void hash() {
        mOptions.generator.hash = value();
        const std::string& text = mOptions.generator.hash;
        const bool good =
            !text.empty() && text.size() <= 128 &&
            std::all_of(text.begin(), text.end(), [](char c) {
                return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
            });
        if (!good) {
            mDiagnostics.error("'--hash' needs the hash of the API, letters and digits only");
        }
    }

    void complete() {
        if (mOptions.task == Options::Task::CheckApi) {
            if (mOptions.files.size() != 2) {
                mDiagnostics.error("--checkapi=equal needs two folders, the old and the new dump");
            }
            // Whatever a dump contains is compared.
            mOptions.checks.vintf = true;
            return;
        }
        if (mOptions.files.empty()) {
            mDiagnostics.error("name at least one .aidl file; see --help");
        }
        if (mOptions.sourceFolder.empty()) {
            mDiagnostics.error(mOptions.task == Options::Task::DumpApi
                                   ? "say with --out where the dump goes"
                                   : "say with -o where the sources go");
        }
        if (mOptions.task == Options::Task::DumpApi) {
            return;
        }
        if (!mHasLanguage) {
            mDiagnostics.error("say with --lang=ndk what to generate");
        }
        if (mOptions.headerFolder.empty()) {
            mDiagnostics.error("say with -h where the headers go");
        }
        if (!mOptions.generator.hash.empty() && mOptions.generator.version == 0) {
            mDiagnostics.error("--hash belongs to a --version; give both");
        }
    }

    const std::vector<std::string>& mArguments;
    Diagnostics& mDiagnostics;
    Options mOptions;
    size_t mNext = 0;
    bool mHasLanguage = false;
    std::string mName;
    std::optional<std::string> mInline;
};

}  // namespace

std::optional<Options> parseOptions(const std::vector<std::string>& arguments,
                                    Diagnostics* diagnostics) {
    return OptionParser(arguments, diagnostics).run();
}

}  // namespace aidlc
