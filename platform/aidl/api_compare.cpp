// SPDX-License-Identifier: Apache-2.0
#include "api_compare.h"

#include <map>
#include <vector>

#include "api_dump.h"
#include "checks.h"
#include "type_table.h"

namespace aidlc {
namespace {

// One folder, read and checked.
class Api {
  public:
    Api(const std::string& folder, Io* io, Diagnostics* diagnostics)
        : mTypes(io, {folder}, diagnostics) {
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
            const TypeDecl* type = mTypes.load(joinPath(folder, name));
            if (type != nullptr) {
                mByName[type->qualifiedName()] = type;
            }
        }
        checkDocuments(&mTypes, diagnostics);
    }

    const std::map<std::string, const TypeDecl*>& types() const { return mByName; }

  private:
    TypeTable mTypes;
    std::map<std::string, const TypeDecl*> mByName;
};

// Reports the first difference.
void compareItems(const TypeDecl& before, const TypeDecl& after, Diagnostics* diagnostics) {
    const std::vector<ApiItem> old = apiItems(before);
    const std::vector<ApiItem> now = apiItems(after);
    size_t i = 0;
    while (i < old.size() && i < now.size() && old[i].text == now[i].text) {
        ++i;
    }
    if (i < old.size() && i < now.size()) {
        diagnostics->error(now[i].at, "this is '" + now[i].text + "', but '" + old[i].text +
                                          "' in " + *old[i].at.file + ':' +
                                          std::to_string(old[i].at.line));
    } else if (i < now.size()) {
        diagnostics->error(now[i].at, "'" + now[i].text + "' is missing from " + *before.at.file);
    } else if (i < old.size()) {
        diagnostics->error(old[i].at, "'" + old[i].text + "' is missing from " + *after.at.file);
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
            diagnostics->error(type->at, "'" + name + "' is missing from " + oldFolder);
        } else {
            compareItems(*found->second, *type, diagnostics);
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
