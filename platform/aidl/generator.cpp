// SPDX-License-Identifier: Apache-2.0
#include "generator.h"

#include "cpp_types.h"
#include "generator_enums.h"
#include "generator_interface.h"
#include "generator_records.h"

namespace aidlc {

void generate(const TypeDecl& type, const InterfaceVersion& version, GeneratedFiles* files) {
    std::string* header = &files->headers[headerPath(type, type.name)];
    std::string* source = &files->sources[folderOf(type) + type.name + ".cpp"];
    switch (type.kind) {
        case TypeDecl::Kind::Interface:
            *header = interfaceHeader(type, version);
            files->headers[headerPath(type, "Bn" + baseName(type))] = nativeHeader(type, version);
            files->headers[headerPath(type, "Bp" + baseName(type))] = proxyHeader(type, version);
            *source = interfaceSource(type, version);
            break;
        case TypeDecl::Kind::Enum:
            *header = enumHeader(type);
            *source = enumSource(type);
            break;
        case TypeDecl::Kind::Parcelable:
        case TypeDecl::Kind::Union:
            *header = recordHeader(type);
            *source = recordSource(type);
            break;
    }
}

}  // namespace aidlc
