// SPDX-License-Identifier: Apache-2.0
// Interface headers and the source that holds the interface, its proxy and its native base.
#include "cpp_types.h"
#include "generator.h"

namespace aidlc {
namespace {

void publicHead(CodeWriter* out) {
    out->outer("public:");
}

// The head of a header for a class on top of the interface, whose own header is `interfacePath`.
void classHead(CodeWriter* out, const std::string& interfacePath) {
    writeBanner(out);
    out->line("#pragma once");
    out->line();
    out->line("#include \"" + interfacePath + "\"");
    out->line();
    out->line("#include <android/binder_ibinder.h>");
    out->line();
}

void metaMethods(CodeWriter* out, const GeneratorOptions& options, const std::string& before,
                 const std::string& after) {
    if (options.version > 0) {
        out->line(before + "::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return)" +
                  after + ";");
    }
    if (!options.hash.empty()) {
        out->line(before + "::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return)" +
                  after + ";");
    }
}

void interfaceStatics(CodeWriter* out, const TypeDecl& type) {
    const std::string& name = type.name;
    const std::string shared = "std::shared_ptr<" + name + ">";
    out->open(shared + " " + name + "::fromBinder(const ::ndk::SpAIBinder& binder) {");
    out->line("if (binder.get() == nullptr) return nullptr;");
    out->open("if (!AIBinder_associateClass(binder.get(), " + classVariable(type) + ")) {");
    out->line("const AIBinder_Class* originalClass = AIBinder_getClass(binder.get());");
    out->line("if (originalClass == nullptr) return nullptr;");
    out->line(
        "// The same interface, defined by another copy of this library: only calls reach it.");
    out->open("if (std::strcmp(AIBinder_Class_getDescriptor(originalClass), descriptor) == 0) {");
    out->line("return ::ndk::SharedRefBase::make<Bp" + baseName(type) + ">(binder);");
    out->close("}");
    out->line("return nullptr;");
    out->close("}");
    out->line(
        "std::shared_ptr<::ndk::ICInterface> interface = "
        "::ndk::ICInterface::asInterface(binder.get());");
    out->line("if (interface) return std::static_pointer_cast<" + name + ">(interface);");
    out->line("return ::ndk::SharedRefBase::make<Bp" + baseName(type) + ">(binder);");
    out->close("}");
    out->line();
    out->open("binder_status_t " + name + "::writeToParcel(AParcel* parcel, const " + shared +
              "& instance) {");
    out->line(
        "return AParcel_writeStrongBinder(parcel, instance ? instance->asBinder().get() : "
        "nullptr);");
    out->close("}");
    out->line();
    out->open("binder_status_t " + name + "::readFromParcel(const AParcel* parcel, " + shared +
              "* instance) {");
    out->line("::ndk::SpAIBinder binder;");
    out->line("const binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());");
    out->line("if (status != STATUS_OK) return status;");
    out->line("// An object of another interface counts as null.");
    out->line("*instance = " + name + "::fromBinder(binder);");
    out->line("return STATUS_OK;");
    out->close("}");
    out->line();
}

void nativeBase(CodeWriter* out, const TypeDecl& type, const GeneratorOptions& options) {
    const std::string name = "Bn" + baseName(type);
    out->line(name + "::" + name + "() {}");
    out->line(name + "::~" + name + "() {}");
    out->open("::ndk::SpAIBinder " + name + "::createBinder() {");
    out->line("AIBinder* binder = AIBinder_new(" + classVariable(type) +
              ", static_cast<void*>(static_cast<::ndk::ICInterface*>(this)));");
    if (isVintfStable(type)) {
        out->line("AIBinder_markVintfStability(binder);");
    }
    out->line("return ::ndk::SpAIBinder(binder);");
    out->close("}");
    if (options.version > 0) {
        out->open("::ndk::ScopedAStatus " + name +
                  "::getInterfaceVersion(int32_t* _aidl_return) {");
        out->line("*_aidl_return = " + type.name + "::version;");
        out->line("return ::ndk::ScopedAStatus(AStatus_newOk());");
        out->close("}");
    }
    if (!options.hash.empty()) {
        out->open("::ndk::ScopedAStatus " + name +
                  "::getInterfaceHash(std::string* _aidl_return) {");
        out->line("*_aidl_return = " + type.name + "::hash;");
        out->line("return ::ndk::ScopedAStatus(AStatus_newOk());");
        out->close("}");
    }
}

}  // namespace

std::string Generator::interfaceHeader(const TypeDecl& type) {
    const std::string& name = type.name;
    const std::string shared = "std::shared_ptr<" + name + ">";
    CodeWriter out;
    writeBanner(&out);
    out.line("#pragma once");
    out.line();
    out.line("#include <android/binder_auto_utils.h>");
    out.line("#include <android/binder_interface_utils.h>");
    out.line("#include <android/binder_parcel.h>");
    out.line("#include <android/binder_status.h>");
    out.line();
    for (const char* header : {"array", "cstdint", "memory", "optional", "string", "vector"}) {
        out.line(std::string("#include <") + header + ">");
    }
    out.line();
    includeUsedTypes(&out, type);
    forwardDeclareUsedTypes(&out, type);
    openNamespace(&out, type.package);
    writeComment(&out, type.comment);
    out.open("class " + name + " : public ::ndk::ICInterface {");
    publicHead(&out);
    out.line("static const char* descriptor;");
    out.line(name + "();");
    out.line("virtual ~" + name + "();");
    out.line();
    constants(&out, type);
    if (mOptions.version > 0) {
        out.line("static constexpr int32_t version = " + std::to_string(mOptions.version) + ";");
    }
    if (!mOptions.hash.empty()) {
        out.line("static inline const std::string hash = \"" + mOptions.hash + "\";");
    }
    for (const Method& method : type.methods) {
        out.line("static constexpr uint32_t TRANSACTION_" + method.name +
                 " = FIRST_CALL_TRANSACTION + " + std::to_string(method.id) + ";");
    }
    out.line();
    out.line("static " + shared + " fromBinder(const ::ndk::SpAIBinder& binder);");
    out.line("static binder_status_t writeToParcel(AParcel* parcel, const " + shared +
             "& instance);");
    out.line("static binder_status_t readFromParcel(const AParcel* parcel, " + shared +
             "* instance);");
    out.line();
    for (const Method& method : type.methods) {
        writeComment(&out, method.comment);
        out.line("virtual " + methodSignature(method, "") + " = 0;");
    }
    metaMethods(&out, mOptions, "virtual ", " = 0");
    out.close("};");
    closeNamespace(&out, type.package);
    return out.text();
}

std::string Generator::nativeHeader(const TypeDecl& type) {
    const std::string name = "Bn" + baseName(type);
    CodeWriter out;
    classHead(&out, headerPath(type, type.name));
    openNamespace(&out, type.package);
    out.open("class " + name + " : public ::ndk::BnCInterface<" + type.name + "> {");
    publicHead(&out);
    out.line(name + "();");
    out.line("virtual ~" + name + "();");
    metaMethods(&out, mOptions, "", " final");
    out.line();
    out.outer("protected:");
    out.line("::ndk::SpAIBinder createBinder() override;");
    out.close("};");
    closeNamespace(&out, type.package);
    return out.text();
}

std::string Generator::proxyHeader(const TypeDecl& type) {
    const std::string name = "Bp" + baseName(type);
    CodeWriter out;
    classHead(&out, headerPath(type, type.name));
    out.line("#include <atomic>");
    out.line("#include <mutex>");
    out.line("#include <string>");
    out.line();
    openNamespace(&out, type.package);
    out.open("class " + name + " : public ::ndk::BpCInterface<" + type.name + "> {");
    publicHead(&out);
    out.line("explicit " + name + "(const ::ndk::SpAIBinder& binder);");
    out.line("virtual ~" + name + "();");
    out.line();
    for (const Method& method : type.methods) {
        out.line(methodSignature(method, "") + " override;");
    }
    metaMethods(&out, mOptions, "", " override");
    if (mOptions.version > 0) {
        out.line("std::atomic<int32_t> _aidl_cached_version{-1};");
    }
    if (!mOptions.hash.empty()) {
        out.line("std::string _aidl_cached_hash = \"-1\";");
        out.line("std::mutex _aidl_cached_hash_mutex;");
    }
    out.close("};");
    closeNamespace(&out, type.package);
    return out.text();
}

std::string Generator::interfaceSource(const TypeDecl& type) {
    const std::string proxy = "Bp" + baseName(type);
    CodeWriter out;
    writeBanner(&out);
    out.line("#include \"" + headerPath(type, type.name) + "\"");
    out.line();
    out.line("#include <android/binder_parcel_utils.h>");
    out.line("#include <android/binder_stability.h>");
    out.line();
    out.line("#include <cstring>");
    out.line();
    out.line("#include \"" + headerPath(type, "Bn" + baseName(type)) + "\"");
    out.line("#include \"" + headerPath(type, proxy) + "\"");
    out.line();
    openNamespace(&out, type.package);
    writeDispatcher(&out, type, mOptions);
    out.line("static AIBinder_Class* " + classVariable(type) +
             " = ::ndk::ICInterface::defineClass(" + type.name + "::descriptor, " +
             dispatcherName(type) + ");");
    out.line();
    out.line("// Proxy.");
    out.line(proxy + "::" + proxy + "(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}");
    out.line(proxy + "::~" + proxy + "() {}");
    out.line();
    for (const Method& method : type.methods) {
        writeProxyMethod(&out, type, method);
    }
    if (mOptions.version > 0) {
        writeProxyVersion(&out, type);
    }
    if (!mOptions.hash.empty()) {
        writeProxyHash(&out, type);
    }
    out.line("// Base of an implementation.");
    nativeBase(&out, type, mOptions);
    out.line();
    out.line("// Interface.");
    out.line("const char* " + type.name + "::descriptor = \"" + type.qualifiedName() + "\";");
    out.line(type.name + "::" + type.name + "() {}");
    out.line(type.name + "::~" + type.name + "() {}");
    out.line();
    interfaceStatics(&out, type);
    closeNamespace(&out, type.package);
    return out.text();
}

}  // namespace aidlc
