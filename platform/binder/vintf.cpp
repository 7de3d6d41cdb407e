// SPDX-License-Identifier: Apache-2.0
#include "vintf.h"

#include <dirent.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>

namespace android::host {
namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n";
    size_t begin = text.find_first_not_of(kSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

// Calls `visit` with the content of each element <tag …>…</tag>; stops when it returns true.
bool forEach(std::string_view xml, std::string_view tag,
             const std::function<bool(std::string_view)>& visit) {
    const std::string open = "<" + std::string(tag);
    const std::string close = "</" + std::string(tag) + ">";
    for (size_t at = xml.find(open); at != std::string_view::npos; at = xml.find(open, at + 1)) {
        size_t begin = xml.find('>', at);
        char next = at + open.size() < xml.size() ? xml[at + open.size()] : '\0';
        if (begin == std::string_view::npos || (next != '>' && next != ' ')) continue;
        size_t end = xml.find(close, begin);
        if (end == std::string_view::npos) return false;
        if (visit(trimmed(xml.substr(begin + 1, end - begin - 1)))) return true;
    }
    return false;
}

bool halDeclares(std::string_view hal, std::string_view instance) {
    std::string package;
    forEach(hal, "name", [&](std::string_view name) {
        package = name;
        return true;
    });
    if (forEach(hal, "fqname", [&](std::string_view name) {
            return package + "." + std::string(name) == instance;
        })) {
        return true;
    }
    return forEach(hal, "interface", [&](std::string_view interface) {
        return forEach(interface, "name", [&](std::string_view name) {
            return forEach(interface, "instance", [&](std::string_view last) {
                return package + "." + std::string(name) + "/" + std::string(last) == instance;
            });
        });
    });
}

}  // namespace

bool declares(std::string_view xml, std::string_view instance) {
    return forEach(xml, "hal", [&](std::string_view hal) { return halDeclares(hal, instance); });
}

bool isDeclaredIn(const std::string& folder, std::string_view instance) {
    std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(folder.c_str()), closedir);
    if (!dir) return false;
    while (const dirent* entry = readdir(dir.get())) {
        std::string name = entry->d_name;
        if (!name.ends_with(".xml")) continue;
        std::ifstream file(folder + "/" + name);
        std::string xml(std::istreambuf_iterator<char>(file), {});
        if (declares(xml, instance)) return true;
    }
    return false;
}

}  // namespace android::host
