// SPDX-License-Identifier: Apache-2.0
// The class IFooDelegator, an implementation that passes every call on to another one.
#include "cpp_types.h"
#include "generator.h"

namespace aidlc {

void writeDelegator(CodeWriter* out, const TypeDecl& type, const GeneratorOptions& options) {
    const std::string name = delegatorName(type);
    const std::string head =
        "explicit " + name + "(const std::shared_ptr<" + type.name + ">& impl) : _impl(impl) {";
    out->line();
    out->line("// A local object that hands each call to `impl`, which is not null.");
    out->open("class " + name + " : public Bn" + baseName(type) + " {");
    out->outer("public:");
    if (options.version > 0) {
        out->line("// Version and hash are those of this library, so `impl` must be of the same");
        out->line("// version: else the process aborts. Blocks for a call when `impl` is remote.");
        out->open(head);
        out->line("int32_t _aidl_version = 0;");
        out->line("if (impl->getInterfaceVersion(&_aidl_version).isOk() &&");
        out->line("    _aidl_version == " + type.name + "::version) return;");
        out->line("std::fputs(\"" + name + ": implementation of another version\\n\", stderr);");
        out->line("std::abort();");
        out->close("}");
    } else {
        out->line(head + "}");
    }
    out->line();
    for (const Method& method : type.methods) {
        out->open(methodSignature(method, "", true) + " override {");
        out->line("return _impl->" + method.name + "(" + passedArguments(method, "") + ");");
        out->close("}");
    }
    out->line();
    out->outer("private:");
    out->line("std::shared_ptr<" + type.name + "> _impl;");
    out->close("};");
}

}  // namespace aidlc
