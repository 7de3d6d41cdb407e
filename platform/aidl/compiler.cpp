// SPDX-License-Identifier: Apache-2.0
#include "compiler.h"

#include <map>
#include <vector>

#include "api_compare.h"
#include "api_dump.h"
#include "checks.h"
#include "generator.h"
#include "type_table.h"

namespace aidlc {
namespace {

bool writeAll(const std::string& folder, const std::map<std::string, std::string>& files, Io* io,
              Diagnostics* diagnostics) {
    for (const auto& [name, text] : files) {
        const std::string path = joinPath(folder, name);
        std::string why;
        if (!io->write(path, text, &why)) {
            diagnostics->error(path + " cannot be written: " + why);
            return false;
        }
    }
    return true;
}

}  // namespace

bool run(const Options& options, Io* io, Diagnostics* diagnostics) {
    if (options.task == Options::Task::CheckApi) {
        return checkApiEqual(options.files[0], options.files[1], io, diagnostics);
    }
    TypeTable types(io, options.importFolders, diagnostics);
    std::vector<const TypeDecl*> wanted;
    for (const std::string& file : options.files) {
        if (const TypeDecl* type = types.load(file); type != nullptr) {
            wanted.push_back(type);
        }
    }
    checkDocuments(&types, diagnostics);
    if (diagnostics->hasErrors()) {
        return false;
    }
    GeneratedFiles files;
    for (const TypeDecl* type : wanted) {
        if (options.task == Options::Task::DumpApi) {
            files.sources[dumpPath(*type)] = dumpType(*type);
        } else {
            generate(*type, {options.version, options.hash}, &files);
        }
    }
    return writeAll(options.headerFolder, files.headers, io, diagnostics) &&
           writeAll(options.sourceFolder, files.sources, io, diagnostics);
}

}  // namespace aidlc
