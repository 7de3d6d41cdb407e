// SPDX-License-Identifier: Apache-2.0
#include "generator_calls.h"

#include "cpp_types.h"

namespace aidlc {
namespace {

// Codes kept for the version and the hash, as offsets from the first.
constexpr int64_t kVersionId = 16777214;
constexpr int64_t kHashId = 16777213;

std::string variable(const Argument& argument) {
    return (argument.isOut() ? "out_" : "in_") + argument.name;
}

std::string code(int64_t id, const std::string& name) {
    return "(FIRST_CALL_TRANSACTION + " + std::to_string(id) + " /*" + name + "*/)";
}

bool returnsVoid(const Method& method) {
    return method.result.builtin == Builtin::Void;
}

// Only the capacity of an out T[] travels to the callee, which gets a vector of that size.
bool sendsSize(const Argument& argument) {
    return !argument.isIn() && argument.type.array == TypeRef::Array::Dynamic;
}

void orFail(CodeWriter* out, const std::string& statement) {
    out->lines(R"(
_aidl_ret_status = $STATEMENT;
if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

)",
               {{"$STATEMENT", statement}});
}

void orBreak(CodeWriter* out, const std::string& statement) {
    out->lines(R"(
_aidl_ret_status = $STATEMENT;
if (_aidl_ret_status != STATUS_OK) break;
)",
               {{"$STATEMENT", statement}});
}

void proxyPrologue(CodeWriter* out) {
    out->lines(R"(
binder_status_t _aidl_ret_status = STATUS_OK;
::ndk::ScopedAStatus _aidl_status;
::ndk::ScopedAParcel _aidl_in;
::ndk::ScopedAParcel _aidl_out;

)");
    orFail(out, "AIBinder_prepareTransaction(asBinderReference().get(), _aidl_in.getR())");
}

void transact(CodeWriter* out, int64_t id, const std::string& name, bool oneway) {
    out->lines(R"(
_aidl_ret_status = AIBinder_transact(
  asBinderReference().get(),
  $CODE,
  _aidl_in.getR(),
  _aidl_out.getR(),
  $FLAGS
);
if (_aidl_ret_status != STATUS_OK) goto _aidl_error;

)",
               {{"$CODE", code(id, name)}, {"$FLAGS", oneway ? "FLAG_ONEWAY" : "0"}});
    if (!oneway) {
        orFail(out, "AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR())");
        out->line("if (!AStatus_isOk(_aidl_status.get())) return _aidl_status;");
        out->line();
    }
}

// A call that went well keeps the status that came with it; there is no need to make another.
void proxyEpilogue(CodeWriter* out, bool oneway) {
    if (!oneway) {
        out->line("return _aidl_status;");
        out->line();
    }
    out->label("_aidl_error:");
    out->line("_aidl_status.set(AStatus_fromStatus(_aidl_ret_status));");
    out->line("return _aidl_status;");
    out->close("}");
    out->line();
}

void proxyMethod(CodeWriter* out, const TypeDecl& type, int64_t id, const Method& method) {
    out->open(methodSignature(method, "Bp" + baseName(type)) + " {");
    proxyPrologue(out);
    for (const Argument& argument : method.arguments) {
        const std::string value = (argument.isOut() ? "*" : "") + variable(argument);
        if (argument.isIn()) {
            orFail(out, parcelFunction("write", argument.type) + "(_aidl_in.get(), " + value + ")");
        } else if (sendsSize(argument)) {
            orFail(out, "::ndk::AParcel_writeVectorSize(_aidl_in.get(), " + value + ")");
        }
    }
    transact(out, id, method.name, method.oneway);
    if (!returnsVoid(method)) {
        orFail(out, parcelFunction("read", method.result) + "(_aidl_out.get(), _aidl_return)");
    }
    for (const Argument& argument : method.arguments) {
        if (argument.isOut()) {
            orFail(out, parcelFunction("read", argument.type) + "(_aidl_out.get(), " +
                            variable(argument) + ")");
        }
    }
    proxyEpilogue(out, method.oneway);
}

void proxyVersion(CodeWriter* out, const TypeDecl& type) {
    out->open("::ndk::ScopedAStatus Bp" + baseName(type) +
              "::getInterfaceVersion(int32_t* _aidl_return) {");
    out->lines(R"(
const int32_t _aidl_cached = _aidl_cached_version.load();
if (_aidl_cached != -1) {
  *_aidl_return = _aidl_cached;
  return ::ndk::ScopedAStatus(AStatus_newOk());
}
)");
    proxyPrologue(out);
    transact(out, kVersionId, "getInterfaceVersion", false);
    orFail(out, "::ndk::AParcel_readData(_aidl_out.get(), _aidl_return)");
    out->line("_aidl_cached_version.store(*_aidl_return);");
    proxyEpilogue(out, false);
}

void proxyHash(CodeWriter* out, const TypeDecl& type) {
    out->open("::ndk::ScopedAStatus Bp" + baseName(type) +
              "::getInterfaceHash(std::string* _aidl_return) {");
    out->lines(R"(
{
  const std::lock_guard<std::mutex> _aidl_lock(_aidl_cached_hash_mutex);
  if (_aidl_cached_hash != "-1") {
    *_aidl_return = _aidl_cached_hash;
    return ::ndk::ScopedAStatus(AStatus_newOk());
  }
}
)");
    proxyPrologue(out);
    transact(out, kHashId, "getInterfaceHash", false);
    orFail(out, "::ndk::AParcel_readData(_aidl_out.get(), _aidl_return)");
    out->lines(R"(
{
  const std::lock_guard<std::mutex> _aidl_lock(_aidl_cached_hash_mutex);
  _aidl_cached_hash = *_aidl_return;
}
)");
    proxyEpilogue(out, false);
}

// The variables as arguments of the implementation.
std::string passedArguments(const Method& method) {
    std::string text;
    for (const Argument& argument : method.arguments) {
        text += text.empty() ? "" : ", ";
        text += (argument.isOut() ? "&" : "") + variable(argument);
    }
    if (!returnsVoid(method)) {
        text += text.empty() ? "&_aidl_return" : ", &_aidl_return";
    }
    return text;
}

void declare(CodeWriter* out, const TypeRef& type, const std::string& name) {
    const bool needsValue = type.isScalar() || type.array == TypeRef::Array::Fixed;
    out->line(cppType(type) + ' ' + name + (needsValue ? "{};" : ";"));
}

void dispatch(CodeWriter* out, int64_t id, const Method& method) {
    out->open("case " + code(id, method.name) + ": {");
    for (const Argument& argument : method.arguments) {
        declare(out, argument.type, variable(argument));
    }
    if (!returnsVoid(method)) {
        declare(out, method.result, "_aidl_return");
    }
    for (const Argument& argument : method.arguments) {
        if (argument.isIn()) {
            orBreak(out, parcelFunction("read", argument.type) + "(_aidl_in, &" +
                             variable(argument) + ")");
        } else if (sendsSize(argument)) {
            orBreak(out, "::ndk::AParcel_resizeVector(_aidl_in, &" + variable(argument) + ")");
        }
    }
    out->line("::ndk::ScopedAStatus _aidl_status = _aidl_impl->" + method.name + "(" +
              passedArguments(method) + ");");
    if (method.oneway) {
        out->line("_aidl_ret_status = STATUS_OK;");
    } else {
        orBreak(out, "AParcel_writeStatusHeader(_aidl_out, _aidl_status.get())");
        out->line("if (!AStatus_isOk(_aidl_status.get())) break;");
        if (!returnsVoid(method)) {
            orBreak(out, parcelFunction("write", method.result) + "(_aidl_out, _aidl_return)");
        }
        for (const Argument& argument : method.arguments) {
            if (argument.isOut()) {
                orBreak(out, parcelFunction("write", argument.type) + "(_aidl_out, " +
                                 variable(argument) + ")");
            }
        }
    }
    out->line("break;");
    out->close("}");
}

// Version and hash are constants of the generated class: no call of the implementation.
void dispatchMeta(CodeWriter* out, int64_t id, const std::string& name, const std::string& value) {
    out->open("case " + code(id, name) + ": {");
    out->line("const ::ndk::ScopedAStatus _aidl_status(AStatus_newOk());");
    orBreak(out, "AParcel_writeStatusHeader(_aidl_out, _aidl_status.get())");
    orBreak(out, "::ndk::AParcel_writeData(_aidl_out, " + value + ")");
    out->line("break;");
    out->close("}");
}

}  // namespace

std::string methodSignature(const Method& method, const std::string& className) {
    std::string parameters;
    for (const Argument& argument : method.arguments) {
        parameters += parameters.empty() ? "" : ", ";
        parameters +=
            argument.isOut() ? cppType(argument.type) + "*" : cppParameterType(argument.type);
        parameters += ' ' + variable(argument);
    }
    if (!returnsVoid(method)) {
        parameters += (parameters.empty() ? "" : ", ") + cppType(method.result) + "* _aidl_return";
    }
    return "::ndk::ScopedAStatus " + (className.empty() ? "" : className + "::") + method.name +
           "(" + parameters + ")";
}

void writeProxyMethods(CodeWriter* out, const TypeDecl& type, bool hasVersion) {
    int64_t id = 0;
    for (const Method& method : type.methods) {
        proxyMethod(out, type, id++, method);
    }
    if (hasVersion) {
        proxyVersion(out, type);
        proxyHash(out, type);
    }
}

void writeDispatcher(CodeWriter* out, const TypeDecl& type, const std::string& name,
                     bool hasVersion) {
    out->open("static binder_status_t " + name +
              "(AIBinder* _aidl_binder, transaction_code_t _aidl_code, const AParcel* _aidl_in, "
              "AParcel* _aidl_out) {");
    out->lines(R"(
(void)_aidl_in;
(void)_aidl_out;
binder_status_t _aidl_ret_status = STATUS_UNKNOWN_TRANSACTION;
const std::shared_ptr<$NATIVE> _aidl_impl = std::static_pointer_cast<$NATIVE>(::ndk::ICInterface::asInterface(_aidl_binder));
if (_aidl_impl == nullptr) return STATUS_DEAD_OBJECT;
)",
               {{"$NATIVE", "Bn" + baseName(type)}});
    out->open("switch (_aidl_code) {");
    int64_t id = 0;
    for (const Method& method : type.methods) {
        dispatch(out, id++, method);
    }
    if (hasVersion) {
        dispatchMeta(out, kVersionId, "getInterfaceVersion",
                     "static_cast<int32_t>(" + type.name + "::version)");
        dispatchMeta(out, kHashId, "getInterfaceHash", type.name + "::hash");
    }
    out->line("default:");
    out->line("  break;");
    out->close("}");
    out->line("return _aidl_ret_status;");
    out->close("}");
    out->line();
}

}  // namespace aidlc
