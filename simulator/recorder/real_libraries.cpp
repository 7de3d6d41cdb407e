// SPDX-License-Identifier: Apache-2.0
#include "real_libraries.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

namespace virtual_dock {
namespace {

struct Names {
    const char* file;
    const char* variable;
};

constexpr Names kChargelinkNames = {"libchargelink.so", "CHARGELINK_REAL"};
constexpr Names kReverselinkNames = {"libreverselink.so", "REVERSELINK_REAL"};

const char* pathIn(const char* variable) {
    const char* const path = std::getenv(variable);
    return path != nullptr && path[0] != '\0' ? path : nullptr;
}

// Finds the functions of one library; after the first problem it finds nothing more.
class Functions {
  public:
    Functions(const Names& names, FindNext findNext) : mFindNext(findNext) {
        const char* const path = pathIn(names.variable);
        if (path == nullptr) return;
        mHandle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (mHandle == nullptr) {
            const char* const error = dlerror();
            mProblem = error != nullptr ? error : "dlopen fails";
        } else if (dlsym(mHandle, "dockRecorderStart") != nullptr) {
            mProblem = std::string(path) + " is a recorder itself";
        }
    }

    template <typename Function>
    Functions& find(const char* name, Function* function) {
        if (!mProblem.empty()) return *this;
        void* const found = mHandle != nullptr ? dlsym(mHandle, name) : mFindNext(name);
        *function = reinterpret_cast<Function>(found);
        if (found == nullptr) mProblem = std::string("there is no function ") + name;
        return *this;
    }

    const std::string& problem() const { return mProblem; }

  private:
    const FindNext mFindNext;
    void* mHandle = nullptr;  // for the life of the process
    std::string mProblem;
};

bool isComplete(const Names& names, const Functions& functions, std::string* problem) {
    if (functions.problem().empty()) return true;
    *problem = std::string("no real ") + names.file + ": " + functions.problem() + "; set " +
               names.variable + " to the path of the real one";
    return false;
}

void addPath(const void* function, const Names& names, std::vector<std::string>* paths) {
    Dl_info info;
    if (function != nullptr && dladdr(function, &info) != 0 && info.dli_fname != nullptr) {
        paths->emplace_back(info.dli_fname);
    } else if (const char* const path = pathIn(names.variable)) {
        paths->emplace_back(path);
    }
}

Outcome withoutAnswer(uint32_t result) {
    return {result, 0};
}

void writeLe32(uint32_t value, uint8_t* to) {
    for (int i = 0; i < 4; ++i) to[i] = static_cast<uint8_t>(value >> 8 * i);
}

}  // namespace

bool RealLibraries::load(Library library, FindNext findNext, std::string* problem) {
    if (library == Library::kReverselink) {
        Functions functions(kReverselinkNames, findNext);
        functions.find("initRtxProto", &mReverselink.initRtxProto)
            .find("sendRtxRequest", &mReverselink.sendRtxRequest);
        return mHasReverselink = isComplete(kReverselinkNames, functions, problem);
    }
    Functions functions(kChargelinkNames, findNext);
    functions.find("initWlcProto", &mChargelink.initWlcProto)
        .find("getWlcInfo", &mChargelink.getWlcInfo)
        .find("getWLCAlignment", &mChargelink.getWLCAlignment)
        .find("getFeature", &mChargelink.getFeature)
        .find("setFeature", &mChargelink.setFeature)
        .find("sendBidiRequest", &mChargelink.sendBidiRequest)
        .find("sendPropRequest", &mChargelink.sendPropRequest)
        .find("sendWpcAuthRequest", &mChargelink.sendWpcAuthRequest)
        .find("getPacketTlv", &mChargelink.getPacketTlv)
        .find("setQiId", &mChargelink.setQiId)
        .find("setAuthStart", &mChargelink.setAuthStart)
        .find("uploadFwUpdateData", &mChargelink.uploadFwUpdateData);
    return mHasChargelink = isComplete(kChargelinkNames, functions, problem);
}

int RealLibraries::initialise(Library library) const {
    return library == Library::kChargelink ? mChargelink.initWlcProto()
                                           : mReverselink.initRtxProto();
}

std::vector<std::string> RealLibraries::paths() const {
    std::vector<std::string> paths;
    addPath(reinterpret_cast<const void*>(mChargelink.initWlcProto), kChargelinkNames, &paths);
    addPath(reinterpret_cast<const void*>(mReverselink.initRtxProto), kReverselinkNames, &paths);
    return paths;
}

Outcome RealLibraries::exchangeFramed(const Exchange& exchange) const {
    size_t length = exchange.capacity;
    const bool wanted = exchange.answer != nullptr;
    size_t* const lengthPlace = wanted ? &length : nullptr;
    const Bytes& request = exchange.request;
    uint32_t result = kInternalError;
    if (exchange.operation == Operation::kBidiRequest) {
        result = mChargelink.sendBidiRequest(exchange.type, request.data(), request.size(),
                                             exchange.answer, lengthPlace);
    } else {
        const auto send = exchange.operation == Operation::kPropRequest
                              ? mChargelink.sendPropRequest
                              : mChargelink.sendWpcAuthRequest;
        result = send(exchange.type, request.data(), request.size(), exchange.answer, lengthPlace,
                      exchange.timeLimitMs);
    }
    return {result, result == kOk && wanted ? length : 0};
}

Outcome RealLibraries::findElement(const Exchange& exchange) const {
    const uint8_t* value = nullptr;
    uint8_t length = 0;
    const uint32_t result = mChargelink.getPacketTlv(
        exchange.request.data(), exchange.request.size(), exchange.type, &value, &length);
    if (result != kOk) return withoutAnswer(result);
    // Beyond the packet, for one that does not point into it.
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(value) - reinterpret_cast<uintptr_t>(exchange.request.data());
    writeLe32(offset <= exchange.request.size() ? static_cast<uint32_t>(offset) : UINT32_MAX,
              exchange.answer);
    exchange.answer[4] = length;
    return {kOk, 5};
}

Outcome RealLibraries::exchange(const Exchange& exchange) {
    const bool isReverse = exchange.operation == Operation::kRtxRequest;
    if (!(isReverse ? mHasReverselink : mHasChargelink)) return {kInternalError, 0};
    switch (exchange.operation) {
        case Operation::kGetWlcInfo: {
            uint32_t value = 0;
            const uint32_t result = mChargelink.getWlcInfo(exchange.type, &value);
            if (result != kOk) return withoutAnswer(result);
            writeLe32(value, exchange.answer);
            return {kOk, 4};
        }
        case Operation::kGetAlignment: {
            int32_t values[2] = {};
            exchange.answer[0] = exchange.answer[1] = 0;
            const uint32_t result = mChargelink.getWLCAlignment(
                &exchange.answer[0], &exchange.answer[1], &values[0], &values[1]);
            if (result != kOk) return withoutAnswer(result);
            writeLe32(static_cast<uint32_t>(values[0]), exchange.answer + 2);
            writeLe32(static_cast<uint32_t>(values[1]), exchange.answer + 6);
            return {kOk, 10};
        }
        case Operation::kGetFeature: {
            int64_t features = 0;
            const uint32_t result = mChargelink.getFeature(
                static_cast<int64_t>(readLe64(exchange.request, 0)), &features);
            if (result != kOk) return withoutAnswer(result);
            writeLe64(static_cast<uint64_t>(features), exchange.answer);
            return {kOk, 8};
        }
        case Operation::kSetFeature:
            return withoutAnswer(
                mChargelink.setFeature(static_cast<int64_t>(readLe64(exchange.request, 0)),
                                       static_cast<int64_t>(readLe64(exchange.request, 8))));
        case Operation::kBidiRequest:
        case Operation::kPropRequest:
        case Operation::kWpcAuthRequest:
            return exchangeFramed(exchange);
        case Operation::kGetPacketTlv:
            return findElement(exchange);
        case Operation::kSetQiId:
            return withoutAnswer(mChargelink.setQiId(readLe16(exchange.request, 0)));
        case Operation::kSetAuthStart:
            return withoutAnswer(mChargelink.setAuthStart());
        case Operation::kUploadFwUpdateData:
            return withoutAnswer(mChargelink.uploadFwUpdateData(
                reinterpret_cast<const FwUpdateData*>(exchange.request.data()), exchange.type));
        case Operation::kRtxRequest: {
            const uint32_t result = mReverselink.sendRtxRequest(
                exchange.type, reinterpret_cast<RtxAnswer*>(exchange.answer));
            return {result, result == kOk ? exchange.capacity : 0};
        }
    }
    return {kInternalError, 0};
}

}  // namespace virtual_dock
