// SPDX-License-Identifier: Apache-2.0
#include "generator_interface.h"

#include <algorithm>

#include "cpp_types.h"
#include "generator_calls.h"
#include "generator_common.h"

namespace aidlc {
namespace {

// The head of a header for a class on top of the interface.
void classHead(CodeWriter* out, const TypeDecl& type) {
    writeBanner(out);
    out->lines(R"(
#pragma once

#include "$HEADER"

)",
               {{"$HEADER", headerPath(type, type.name)}});
}

void declareVersionMethods(CodeWriter* out, const InterfaceVersion& version,
                           const std::string& before, const std::string& after) {
    if (version.number > 0) {
        out->line(before + "::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return)" +
                  after + ";");
        out->line(before + "::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return)" +
                  after + ";");
    }
}

}  // namespace

std::string interfaceHeader(const TypeDecl& type, const InterfaceVersion& version) {
    CodeWriter out;
    writeBanner(&out);
    out.line("#pragma once");
    out.line();
    includeAll(&out, {"android/binder_auto_utils.h", "android/binder_interface_utils.h",
                      "android/binder_parcel.h", "android/binder_status.h"});
    includeAll(&out, {"array", "cstdint", "memory", "optional", "string", "vector"});
    includeUsedTypes(&out, type);
    openNamespace(&out, type);
    writeComment(&out, type.comment);
    out.open("class " + type.name + " : public ::ndk::ICInterface {");
    out.label("public:");
    out.lines(R"(
static const char* descriptor;
$NAME();
virtual ~$NAME();

)",
              {{"$NAME", type.name}});
    writeConstants(&out, type);
    if (version.number > 0) {
        out.line("static constexpr int32_t version = " + std::to_string(version.number) + ";");
        out.line("static inline const std::string hash = \"" + version.hash + "\";");
    }
    for (size_t i = 0; i < type.methods.size(); ++i) {
        out.line("static constexpr uint32_t TRANSACTION_" + type.methods[i].name +
                 " = FIRST_CALL_TRANSACTION + " + std::to_string(i) + ";");
    }
    out.lines(R"(

static std::shared_ptr<$NAME> fromBinder(const ::ndk::SpAIBinder& binder);
static binder_status_t writeToParcel(AParcel* parcel, const std::shared_ptr<$NAME>& instance);
static binder_status_t readFromParcel(const AParcel* parcel, std::shared_ptr<$NAME>* instance);

)",
              {{"$NAME", type.name}});
    for (const Method& method : type.methods) {
        writeComment(&out, method.comment);
        out.line("virtual " + methodSignature(method, "") + " = 0;");
    }
    declareVersionMethods(&out, version, "virtual ", " = 0");
    out.close("};");
    closeNamespace(&out, type);
    return out.text();
}

std::string nativeHeader(const TypeDecl& type, const InterfaceVersion& version) {
    CodeWriter out;
    classHead(&out, type);
    includeAll(&out, {"android/binder_ibinder.h"});
    openNamespace(&out, type);
    out.lines(R"(
class Bn$BASE : public ::ndk::BnCInterface<$NAME> {
public:
  Bn$BASE();
  virtual ~Bn$BASE();
)",
              {{"$BASE", baseName(type)}, {"$NAME", type.name}});
    declareVersionMethods(&out, version, "  ", " final");
    out.lines(R"(

protected:
  ::ndk::SpAIBinder createBinder() override;
};
)");
    closeNamespace(&out, type);
    return out.text();
}

std::string proxyHeader(const TypeDecl& type, const InterfaceVersion& version) {
    CodeWriter out;
    classHead(&out, type);
    includeAll(&out, {"android/binder_ibinder.h"});
    includeAll(&out, {"atomic", "mutex", "string"});
    openNamespace(&out, type);
    out.lines(R"(
class Bp$BASE : public ::ndk::BpCInterface<$NAME> {
public:
  explicit Bp$BASE(const ::ndk::SpAIBinder& binder);
  virtual ~Bp$BASE();

)",
              {{"$BASE", baseName(type)}, {"$NAME", type.name}});
    for (const Method& method : type.methods) {
        out.line("  " + methodSignature(method, "") + " override;");
    }
    declareVersionMethods(&out, version, "  ", " override");
    if (version.number > 0) {
        out.lines(R"(
  std::atomic<int32_t> _aidl_cached_version{-1};
  std::string _aidl_cached_hash = "-1";
  std::mutex _aidl_cached_hash_mutex;
)");
    }
    out.line("};");
    closeNamespace(&out, type);
    return out.text();
}

std::string interfaceSource(const TypeDecl& type, const InterfaceVersion& version) {
    std::string flatName = type.qualifiedName();
    std::replace(flatName.begin(), flatName.end(), '.', '_');
    const std::string dispatcher = "_aidl_" + flatName + "_onTransact";
    const std::string classVariable = "_g_aidl_" + flatName + "_clazz";
    CodeWriter out;
    writeBanner(&out);
    out.line("#include \"" + headerPath(type, type.name) + "\"");
    out.line();
    includeAll(&out, {"android/binder_parcel_utils.h", "android/binder_stability.h"});
    includeAll(&out, {"cstring"});
    out.line("#include \"" + headerPath(type, "Bn" + baseName(type)) + "\"");
    out.line("#include \"" + headerPath(type, "Bp" + baseName(type)) + "\"");
    out.line();
    openNamespace(&out, type);
    writeDispatcher(&out, type, dispatcher, version.number > 0);
    out.lines(R"(
static AIBinder_Class* $CLASS = ::ndk::ICInterface::defineClass($NAME::descriptor, $DISPATCHER);

// Proxy.
Bp$BASE::Bp$BASE(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
Bp$BASE::~Bp$BASE() {}

)",
              {{"$CLASS", classVariable},
               {"$NAME", type.name},
               {"$DISPATCHER", dispatcher},
               {"$BASE", baseName(type)}});
    writeProxyMethods(&out, type, version.number > 0);
    out.lines(R"(
// Base of an implementation.
Bn$BASE::Bn$BASE() {}
Bn$BASE::~Bn$BASE() {}
::ndk::SpAIBinder Bn$BASE::createBinder() {
  AIBinder* binder = AIBinder_new($CLASS, static_cast<void*>(static_cast<::ndk::ICInterface*>(this)));
)",
              {{"$BASE", baseName(type)}, {"$CLASS", classVariable}});
    if (isVintfStable(type)) {
        out.line("  AIBinder_markVintfStability(binder);");
    }
    out.lines(R"(
  return ::ndk::SpAIBinder(binder);
}
)");
    if (version.number > 0) {
        out.lines(R"(
::ndk::ScopedAStatus Bn$BASE::getInterfaceVersion(int32_t* _aidl_return) {
  *_aidl_return = $NAME::version;
  return ::ndk::ScopedAStatus(AStatus_newOk());
}
::ndk::ScopedAStatus Bn$BASE::getInterfaceHash(std::string* _aidl_return) {
  *_aidl_return = $NAME::hash;
  return ::ndk::ScopedAStatus(AStatus_newOk());
}
)",
                  {{"$BASE", baseName(type)}, {"$NAME", type.name}});
    }
    out.lines(R"(

// Interface.
const char* $NAME::descriptor = "$DESCRIPTOR";
$NAME::$NAME() {}
$NAME::~$NAME() {}

std::shared_ptr<$NAME> $NAME::fromBinder(const ::ndk::SpAIBinder& binder) {
  if (binder.get() == nullptr) return nullptr;
  if (!AIBinder_associateClass(binder.get(), $CLASS)) {
    const AIBinder_Class* originalClass = AIBinder_getClass(binder.get());
    if (originalClass == nullptr) return nullptr;
    // The same interface, defined by another copy of this library: only calls reach it.
    if (std::strcmp(AIBinder_Class_getDescriptor(originalClass), descriptor) == 0) {
      return ::ndk::SharedRefBase::make<Bp$BASE>(binder);
    }
    return nullptr;
  }
  std::shared_ptr<::ndk::ICInterface> interface = ::ndk::ICInterface::asInterface(binder.get());
  if (interface) return std::static_pointer_cast<$NAME>(interface);
  return ::ndk::SharedRefBase::make<Bp$BASE>(binder);
}

binder_status_t $NAME::writeToParcel(AParcel* parcel, const std::shared_ptr<$NAME>& instance) {
  return AParcel_writeStrongBinder(parcel, instance ? instance->asBinder().get() : nullptr);
}

binder_status_t $NAME::readFromParcel(const AParcel* parcel, std::shared_ptr<$NAME>* instance) {
  ::ndk::SpAIBinder binder;
  const binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());
  if (status != STATUS_OK) return status;
  // An object of another interface counts as null.
  *instance = $NAME::fromBinder(binder);
  return STATUS_OK;
}

)",
              {{"$BASE", baseName(type)},
               {"$NAME", type.name},
               {"$DESCRIPTOR", type.qualifiedName()},
               {"$CLASS", classVariable}});
    closeNamespace(&out, type);
    return out.text();
}

}  // namespace aidlc
