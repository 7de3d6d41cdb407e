// SPDX-License-Identifier: Apache-2.0
// The two ends of a call: proxy methods and the dispatcher.
#include <algorithm>

#include "cpp_types.h"
#include "generator.h"

namespace aidlc {
namespace {

std::string variable(const Argument& argument) {
    return (argument.isOut() ? "out_" : "in_") + argument.name;
}

std::string code(int64_t id, const std::string& name) {
    return "(FIRST_CALL_TRANSACTION + " + std::to_string(id) + " /*" + name + "*/)";
}

// Codes that the tooling keeps for itself: 0x00ffffff and 0x00fffffe.
constexpr int64_t kVersionId = 16777214;
constexpr int64_t kHashId = 16777213;

bool returnsVoid(const Method& method) {
    return method.result.builtin == Builtin::Void;
}

// Only the capacity of an out T[] travels to the callee, which gets a vector of that size.
bool sendsSize(const Argument& argument) {
    return !argument.isIn() && argument.type.array == TypeRef::Array::Dynamic;
}

void orFail(CodeWriter* out) {
    out->line("if (_aidl_ret_status != STATUS_OK) goto _aidl_error;");
    out->line();
}

void proxyPrologue(CodeWriter* out) {
    out->line("binder_status_t _aidl_ret_status = STATUS_OK;");
    out->line("::ndk::ScopedAStatus _aidl_status;");
    out->line("::ndk::ScopedAParcel _aidl_in;");
    out->line("::ndk::ScopedAParcel _aidl_out;");
    out->line();
    out->line(
        "_aidl_ret_status = AIBinder_prepareTransaction(asBinderReference().get(), "
        "_aidl_in.getR());");
    orFail(out);
}

void transact(CodeWriter* out, int64_t id, const std::string& name, bool oneway) {
    out->open("_aidl_ret_status = AIBinder_transact(");
    out->line("asBinderReference().get(),");
    out->line(code(id, name) + ",");
    out->line("_aidl_in.getR(),");
    out->line("_aidl_out.getR(),");
    out->line(oneway ? "FLAG_ONEWAY" : "0");
    out->close(");");
    orFail(out);
    if (!oneway) {
        out->line(
            "_aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), "
            "_aidl_status.getR());");
        orFail(out);
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
    out->outer("_aidl_error:");
    out->line("_aidl_status.set(AStatus_fromStatus(_aidl_ret_status));");
    out->line("return _aidl_status;");
    out->close("}");
    out->line();
}

void orBreak(CodeWriter* out) {
    out->line("if (_aidl_ret_status != STATUS_OK) break;");
}

void dispatchResult(CodeWriter* out, const std::string& write) {
    out->line("_aidl_ret_status = " + write + ";");
    orBreak(out);
}

// The variables as arguments of the implementation.
std::string passedArguments(const Method& method) {
    std::string text;
    for (const Argument& argument : method.arguments) {
        text += (text.empty() ? "" : ", ") + std::string(argument.isOut() ? "&" : "") +
                variable(argument);
    }
    if (!returnsVoid(method)) {
        text += std::string(text.empty() ? "" : ", ") + "&_aidl_return";
    }
    return text;
}

void dispatch(CodeWriter* out, const Method& method) {
    out->open("case " + code(method.id, method.name) + ": {");
    for (const Argument& argument : method.arguments) {
        const TypeRef& type = argument.type;
        const bool needsValue = isScalar(type) || type.array == TypeRef::Array::Fixed;
        out->line(cppType(type) + " " + variable(argument) + (needsValue ? "{};" : ";"));
    }
    if (!returnsVoid(method)) {
        const TypeRef& type = method.result;
        const bool needsValue = isScalar(type) || type.array == TypeRef::Array::Fixed;
        out->line(cppType(type) + " _aidl_return" + (needsValue ? "{};" : ";"));
    }
    for (const Argument& argument : method.arguments) {
        if (argument.isIn()) {
            out->line("_aidl_ret_status = " + parcelFunction("read", argument.type) +
                      "(_aidl_in, &" + variable(argument) + ");");
            orBreak(out);
        } else if (sendsSize(argument)) {
            out->line("_aidl_ret_status = ::ndk::AParcel_resizeVector(_aidl_in, &" +
                      variable(argument) + ");");
            orBreak(out);
        }
    }
    out->line("::ndk::ScopedAStatus _aidl_status = _aidl_impl->" + method.name + "(" +
              passedArguments(method) + ");");
    if (method.oneway) {
        out->line("_aidl_ret_status = STATUS_OK;");
    } else {
        dispatchResult(out, "AParcel_writeStatusHeader(_aidl_out, _aidl_status.get())");
        out->line("if (!AStatus_isOk(_aidl_status.get())) break;");
        if (!returnsVoid(method)) {
            dispatchResult(out,
                           parcelFunction("write", method.result) + "(_aidl_out, _aidl_return)");
        }
        for (const Argument& argument : method.arguments) {
            if (argument.isOut()) {
                dispatchResult(out, parcelFunction("write", argument.type) + "(_aidl_out, " +
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
    dispatchResult(out, "AParcel_writeStatusHeader(_aidl_out, _aidl_status.get())");
    dispatchResult(out, "::ndk::AParcel_writeData(_aidl_out, " + value + ")");
    out->line("break;");
    out->close("}");
}

std::string flatName(const TypeDecl& type) {
    std::string name = type.qualifiedName();
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

}  // namespace

std::string dispatcherName(const TypeDecl& type) {
    return "_aidl_" + flatName(type) + "_onTransact";
}
std::string classVariable(const TypeDecl& type) {
    return "_g_aidl_" + flatName(type) + "_clazz";
}

std::string methodSignature(const Method& method, const std::string& className) {
    std::string parameters;
    const auto add = [&](const std::string& type, const std::string& name) {
        parameters += (parameters.empty() ? "" : ", ") + type + " " + name;
    };
    for (const Argument& argument : method.arguments) {
        add(argument.isOut() ? cppType(argument.type) + "*" : cppParameterType(argument.type),
            variable(argument));
    }
    if (!returnsVoid(method)) {
        add(cppType(method.result) + "*", "_aidl_return");
    }
    return "::ndk::ScopedAStatus " + (className.empty() ? "" : className + "::") + method.name +
           "(" + parameters + ")";
}

void writeProxyMethod(CodeWriter* out, const TypeDecl& type, const Method& method) {
    out->open(methodSignature(method, "Bp" + baseName(type)) + " {");
    proxyPrologue(out);
    for (const Argument& argument : method.arguments) {
        const std::string name = variable(argument);
        const std::string value = argument.isOut() ? "*" + name : name;
        if (argument.isIn()) {
            out->line("_aidl_ret_status = " + parcelFunction("write", argument.type) +
                      "(_aidl_in.get(), " + value + ");");
            orFail(out);
        } else if (sendsSize(argument)) {
            out->line("_aidl_ret_status = ::ndk::AParcel_writeVectorSize(_aidl_in.get(), " + value +
                      ");");
            orFail(out);
        }
    }
    transact(out, method.id, method.name, method.oneway);
    if (!returnsVoid(method)) {
        out->line("_aidl_ret_status = " + parcelFunction("read", method.result) +
                  "(_aidl_out.get(), _aidl_return);");
        orFail(out);
    }
    for (const Argument& argument : method.arguments) {
        if (argument.isOut()) {
            out->line("_aidl_ret_status = " + parcelFunction("read", argument.type) +
                      "(_aidl_out.get(), " + variable(argument) + ");");
            orFail(out);
        }
    }
    proxyEpilogue(out, method.oneway);
}

void writeProxyVersion(CodeWriter* out, const TypeDecl& type) {
    out->open("::ndk::ScopedAStatus Bp" + baseName(type) +
              "::getInterfaceVersion(int32_t* _aidl_return) {");
    out->line("const int32_t _aidl_cached = _aidl_cached_version.load();");
    out->open("if (_aidl_cached != -1) {");
    out->line("*_aidl_return = _aidl_cached;");
    out->line("return ::ndk::ScopedAStatus(AStatus_newOk());");
    out->close("}");
    proxyPrologue(out);
    transact(out, kVersionId, "getInterfaceVersion", false);
    out->line("_aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);");
    orFail(out);
    out->line("_aidl_cached_version.store(*_aidl_return);");
    proxyEpilogue(out, false);
}

void writeProxyHash(CodeWriter* out, const TypeDecl& type) {
    out->open("::ndk::ScopedAStatus Bp" + baseName(type) +
              "::getInterfaceHash(std::string* _aidl_return) {");
    out->open("{");
    out->line("const std::lock_guard<std::mutex> _aidl_lock(_aidl_cached_hash_mutex);");
    out->open("if (_aidl_cached_hash != \"-1\") {");
    out->line("*_aidl_return = _aidl_cached_hash;");
    out->line("return ::ndk::ScopedAStatus(AStatus_newOk());");
    out->close("}");
    out->close("}");
    proxyPrologue(out);
    transact(out, kHashId, "getInterfaceHash", false);
    out->line("_aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), _aidl_return);");
    orFail(out);
    out->open("{");
    out->line("const std::lock_guard<std::mutex> _aidl_lock(_aidl_cached_hash_mutex);");
    out->line("_aidl_cached_hash = *_aidl_return;");
    out->close("}");
    proxyEpilogue(out, false);
}

void writeDispatcher(CodeWriter* out, const TypeDecl& type, const GeneratorOptions& options) {
    const std::string native = "Bn" + baseName(type);
    out->open("static binder_status_t " + dispatcherName(type) +
              "(AIBinder* _aidl_binder, transaction_code_t _aidl_code, const AParcel* _aidl_in, "
              "AParcel* _aidl_out) {");
    out->line("(void)_aidl_in;");
    out->line("(void)_aidl_out;");
    out->line("binder_status_t _aidl_ret_status = STATUS_UNKNOWN_TRANSACTION;");
    out->line("const std::shared_ptr<" + native + "> _aidl_impl = std::static_pointer_cast<" +
              native + ">(::ndk::ICInterface::asInterface(_aidl_binder));");
    out->line("if (_aidl_impl == nullptr) return STATUS_DEAD_OBJECT;");
    out->open("switch (_aidl_code) {");
    for (const Method& method : type.methods) {
        dispatch(out, method);
    }
    if (options.version > 0) {
        dispatchMeta(out, kVersionId, "getInterfaceVersion",
                     "static_cast<int32_t>(" + type.name + "::version)");
    }
    if (!options.hash.empty()) {
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
