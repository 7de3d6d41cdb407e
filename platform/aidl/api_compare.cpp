// SPDX-License-Identifier: Apache-2.0
#include "api_compare.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "api_dump.h"
#include "checks.h"
#include "constants.h"
#include "type_table.h"

namespace aidlc {
namespace {

// One folder, read and checked.
class Api {
  public:
    Api(const std::string& folder, Io* io, Diagnostics* diagnostics)
        : mTypes(io, {folder}, diagnostics), mEvaluator(&mTypes, diagnostics) {
        std::string why;
        const auto names = io->list(folder, &why);
        if (!names) {
            diagnostics->error("cannot list the folder " + folder + ": " + why);
            return;
        }
        if (names->empty()) {
            diagnostics->error("there are no .aidl files in the folder " + folder);
        }
        for (const std::string& name : *names) {
            const Document* document = mTypes.load(joinPath(folder, name));
            if (document != nullptr) {
                mByName[document->type->qualifiedName()] = document->type.get();
            }
        }
        mTypes.resolve();
        CheckOptions options;
        options.vintf = true;
        if (!diagnostics->hasErrors()) {
            checkDocuments(&mTypes, &mEvaluator, options, diagnostics);
        }
    }

    const std::map<std::string, const TypeDecl*>& types() const { return mByName; }
    std::vector<ApiItem> items(const TypeDecl& type) { return apiItems(type, &mEvaluator); }

  private:
    TypeTable mTypes;
    Evaluator mEvaluator;
    std::map<std::string, const TypeDecl*> mByName;
};

std::string placeOf(const Location& at) {
    return *at.file + ':' + std::to_string(at.line);
}

void compareItems(const std::vector<ApiItem>& before, const std::vector<ApiItem>& after,
                  const std::string& type, Diagnostics* diagnostics) {
    std::map<std::string, const ApiItem*> old;
    // The declaration itself, which shares its name space with nothing.
    if (before[0].text != after[0].text) {
        diagnostics->error(after[0].at, "this is '" + after[0].text + "', but '" + before[0].text +
                                            "' in " + placeOf(before[0].at));
    }
    for (size_t i = 1; i < before.size(); ++i) {
        old.emplace(before[i].name, &before[i]);
    }
    bool sameNames = before.size() == after.size();
    for (size_t i = 1; i < after.size(); ++i) {
        const auto found = old.find(after[i].name);
        if (found == old.end()) {
            diagnostics->error(after[i].at, "'" + after[i].name + "' is new: " + type + " in " +
                                                *before[0].at.file + " has none");
            sameNames = false;
            continue;
        }
        if (found->second->text != after[i].text) {
            diagnostics->error(after[i].at, "this is '" + after[i].text + "', but '" +
                                                found->second->text + "' in " +
                                                placeOf(found->second->at));
        }
        old.erase(found);
    }
    for (const auto& [name, item] : old) {
        diagnostics->error(item->at, "'" + name + "' is missing from " + *after[0].at.file);
    }
    for (size_t i = 1; sameNames && i < after.size(); ++i) {
        if (before[i].name != after[i].name) {
            diagnostics->error(after[i].at, "'" + after[i].name + "' stands where " +
                                                placeOf(before[i].at) + " has '" + before[i].name +
                                                "'");
            return;
        }
    }
}

}  // namespace

bool checkApiEqual(const std::string& oldFolder, const std::string& newFolder, Io* io,
                   Diagnostics* diagnostics) {
    Api before(oldFolder, io, diagnostics);
    Api after(newFolder, io, diagnostics);
    if (diagnostics->hasErrors()) {
        return false;
    }
    for (const auto& [name, type] : after.types()) {
        const auto found = before.types().find(name);
        if (found == before.types().end()) {
            diagnostics->error(type->at,
                               "'" + name + "' is new: " + oldFolder + " has no such type");
        } else {
            compareItems(before.items(*found->second), after.items(*type), name, diagnostics);
        }
    }
    for (const auto& [name, type] : before.types()) {
        if (after.types().count(name) == 0) {
            diagnostics->error(type->at, "'" + name + "' is missing from " + newFolder);
        }
    }
    return !diagnostics->hasErrors();
}

}  // namespace aidlc
