// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace aidlc {

const char kUsage[] =
    R"(usage: aidl --lang=ndk --structured --stability=vintf [--version N --hash HASH]
            [-I DIR]... -o DIR -h DIR FILE...
       aidl --dumpapi --structured --stability=vintf [-I DIR]... --out DIR FILE...
       aidl --checkapi=equal OLD_DIR NEW_DIR

Turns AIDL files into C++ for the NDK backend.

  --lang=ndk          the only language there is
  --structured        types are declared with all their fields (always so)
  --stability=vintf   types may be marked @VintfStability (always so)
  --version N         the interface's version, 1 to 999999; none if left out
  --hash HASH         the hash of that version's API
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
            if (argument.starts_with("-")) {
                option(argument);
            } else {
                mOptions.files.push_back(argument);
            }
        }
        if (!mDiagnostics.hasErrors()) {
            checkComplete();
        }
        return mDiagnostics.hasErrors() ? std::nullopt : std::optional<Options>(mOptions);
    }

  private:
    void checkComplete() {
        const bool isGenerate = mOptions.task == Options::Task::Generate;
        if (mOptions.task == Options::Task::CheckApi) {
            require(mOptions.files.size() == 2, "--checkapi=equal needs two folders, old and new");
        } else {
            require(!mOptions.files.empty(), "name at least one .aidl file; see --help");
            require(!mOptions.sourceFolder.empty(), "name the output folder with -o or --out");
            require(!isGenerate || mHasLanguage, "--lang=ndk is missing");
            require(!isGenerate || !mOptions.headerFolder.empty(),
                    "name the header folder with -h");
            require((mOptions.version > 0) == !mOptions.hash.empty(),
                    "--version and --hash go together; give both or none");
        }
    }

    void require(bool isGood, const std::string& otherwise) {
        if (!isGood) {
            mDiagnostics.error(otherwise);
        }
    }

    // "--name=value", "--name value", "-nvalue" or "-n value".
    void option(const std::string& argument) {
        const bool isLong = argument.starts_with("--");
        const size_t nameEnd = std::min(isLong ? argument.find('=') : 2, argument.size());
        mName = argument.substr(0, nameEnd);
        mInline.reset();
        if (nameEnd < argument.size()) {
            mInline = argument.substr(nameEnd + (isLong ? 1 : 0));
        }
        if (mName == "-I") {
            mOptions.importFolders.push_back(value());
        } else if (mName == "-o" || mName == "--out") {
            mOptions.sourceFolder = value();
        } else if (mName == "-h") {
            mOptions.headerFolder = value();
        } else if (mName == "--lang") {
            mHasLanguage = true;
            only("ndk");
        } else if (mName == "--stability") {
            only("vintf");
        } else if (mName == "--version") {
            version(value());
        } else if (mName == "--hash") {
            hash(value());
        } else if (mName == "--checkapi") {
            mOptions.task = Options::Task::CheckApi;
            // Without a value it would ask for compatibility.
            mInline = mInline.value_or("");
            only("equal");
        } else if (argument == "--dumpapi") {
            mOptions.task = Options::Task::DumpApi;
        } else if (argument != "--structured") {
            mDiagnostics.error("there is no option '" + argument + "'; see --help");
        }
    }

    std::string value() {
        if (!mInline && mNext >= mArguments.size()) {
            mDiagnostics.error("'" + mName + "' needs a value after it");
            return "";
        }
        return mInline ? *mInline : mArguments[mNext++];
    }
    void only(const std::string& wanted) {
        const std::string given = value();
        require(given == wanted,
                "'" + mName + '=' + given + "' is not supported; write " + mName + '=' + wanted);
    }

    void version(const std::string& text) {
        const char* end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, mOptions.version);
        require(error == std::errc() && stop == end && mOptions.version >= 1 &&
                    mOptions.version <= 999999,
                "'" + text + "' is not a version; write a number from 1 to 999999");
    }

    void hash(const std::string& text) {
        mOptions.hash = text;
        require(!text.empty() && text.size() <= 128 &&
                    std::all_of(text.begin(), text.end(),
                                [](unsigned char c) { return isalnum(c) != 0; }),
                "'--hash' needs the hash of the API, letters and digits only");
    }

    const std::vector<std::string>& mArguments;
    Diagnostics& mDiagnostics;
    Options mOptions;
    size_t mNext = 0;
    bool mHasLanguage = false;
    std::string mName;
    std::optional<std::string> mInline;  // the value in the same argument
};

}  // namespace

std::optional<Options> parseOptions(const std::vector<std::string>& arguments,
                                    Diagnostics* diagnostics) {
    return OptionParser(arguments, diagnostics).run();
}

}  // namespace aidlc
