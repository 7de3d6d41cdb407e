// SPDX-License-Identifier: Apache-2.0
// service: which services there are, and raw calls to them. Stands in for Android's tool of the
// name, with `list`, `check` and `call`; of call's arguments without fd, nfd, afd and intent.
// `check` exits 1 when the service is not found, `call` also when the call fails.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <errno.h>
#include <host/binder_host.h>
#include <host/escape.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tool.h"

namespace {

using android::host::escaped;
using android::tools::exitStatus;

constexpr int kBadUsage = 2;
constexpr std::chrono::seconds kLimit(2);

constexpr const char* kUsage =
    "usage: service list                 all services with their interfaces\n"
    "       service check NAME           whether a service is there\n"
    "       service call NAME CODE [i32 N | i64 N | f N | d N | s16 TEXT | null]...\n"
    "                                    calls a method by its number, 1 for the first one, and\n"
    "                                    prints the reply as 32-bit words\n";

// Gives up on a service that does not answer; a thread then hangs on in the call until the end.
std::string descriptorOf(const std::string& name) {
    const auto answer = std::make_shared<std::promise<std::string>>();
    std::future<std::string> future = answer->get_future();
    std::thread([answer, name] {
        const ndk::SpAIBinder binder(AServiceManager_checkService(name.c_str()));
        answer->set_value(binder.get() == nullptr
                              ? std::string()
                              : android::host::interfaceDescriptor(binder.get()));
    }).detach();
    return future.wait_for(kLimit) == std::future_status::ready ? future.get() : std::string();
}

int list() {
    const std::vector<std::string> names = android::host::listServices();
    printf("Found %zu services:\n", names.size());
    for (size_t i = 0; i < names.size(); ++i) {
        printf("%zu\t%s: [%s]\n", i, escaped(names[i]).c_str(),
               escaped(descriptorOf(names[i])).c_str());
    }
    return 0;
}

int check(const char* name) {
    const bool found = ndk::SpAIBinder(AServiceManager_checkService(name)).get() != nullptr;
    printf("Service %s: %s\n", escaped(name).c_str(), found ? "found" : "not found");
    return found ? 0 : 1;
}

bool parseInteger(const char* text, long long* value) {
    char* end = nullptr;
    errno = 0;
    *value = strtoll(text, &end, 0);
    return errno == 0 && end != text && *end == '\0';
}

bool parseReal(const char* text, double* value) {
    char* end = nullptr;
    *value = strtod(text, &end);
    return end != text && *end == '\0';
}

// Writes one argument; false when it is not one.
bool writeArgument(AParcel* parcel, const std::string& type, const char* text) {
    long long integer = 0;
    double real = 0;
    if (type == "i32") {
        // Unsigned spellings too, such as 0xffffffff.
        return parseInteger(text, &integer) && integer >= INT32_MIN && integer <= UINT32_MAX &&
               AParcel_writeInt32(parcel, static_cast<int32_t>(integer)) == STATUS_OK;
    }
    if (type == "i64") {
        return parseInteger(text, &integer) && AParcel_writeInt64(parcel, integer) == STATUS_OK;
    }
    if (type == "f") {
        return parseReal(text, &real) &&
               AParcel_writeFloat(parcel, static_cast<float>(real)) == STATUS_OK;
    }
    if (type == "d") {
        return parseReal(text, &real) && AParcel_writeDouble(parcel, real) == STATUS_OK;
    }
    return type == "s16" &&
           AParcel_writeString(parcel, text, static_cast<int32_t>(strlen(text))) == STATUS_OK;
}

void printReply(const AParcel* reply) {
    std::vector<uint8_t> bytes(static_cast<size_t>(AParcel_getDataSize(reply)));
    AParcel_marshal(reply, bytes.data(), 0, bytes.size());
    constexpr size_t kLine = 16;
    printf("Result: Parcel(");
    for (size_t at = 0; at < bytes.size(); at += kLine) {
        if (bytes.size() > kLine) printf("\n  0x%08zx: ", at);
        std::string text;
        for (size_t i = at; i < at + kLine; ++i) {
            if (i % 4 == 0 && i < bytes.size()) {
                uint32_t word = 0;
                memcpy(&word, &bytes[i], std::min(sizeof(word), bytes.size() - i));
                printf("%08x ", word);
            } else if (i % 4 == 0) {
                printf("         ");
            }
            if (i < bytes.size()) {
                text += bytes[i] >= ' ' && bytes[i] < 0x7f ? static_cast<char>(bytes[i]) : '.';
            }
        }
        printf("'%s'", text.c_str());
    }
    printf(")\n");
}

int call(const char* name, const char* codeText, const std::vector<const char*>& words) {
    long long code = 0;
    if (!parseInteger(codeText, &code) || code < FIRST_CALL_TRANSACTION ||
        code > LAST_CALL_TRANSACTION) {
        fprintf(stderr, "service: '%s' is no method number; the first method has 1\n",
                escaped(codeText).c_str());
        return kBadUsage;
    }
    const ndk::SpAIBinder binder(AServiceManager_checkService(name));
    if (binder.get() == nullptr) {
        fprintf(stderr, "service: Service %s does not exist\n", escaped(name).c_str());
        return 1;
    }
    const std::string descriptor = android::host::interfaceDescriptor(binder.get());
    const AIBinder_Class* const anyInterface = AIBinder_Class_define(
        descriptor.c_str(), [](void* args) { return args; }, [](void*) {},
        [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) -> binder_status_t {
            return STATUS_UNKNOWN_TRANSACTION;
        });
    ndk::ScopedAParcel in;
    ndk::ScopedAParcel out;
    if (!AIBinder_associateClass(binder.get(), anyInterface) ||
        AIBinder_prepareTransaction(binder.get(), in.getR()) != STATUS_OK) {
        fprintf(stderr, "service: Service %s does not answer\n", escaped(name).c_str());
        return 1;
    }
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string type = words[i];
        if (type == "null") {
            AParcel_writeStrongBinder(in.get(), nullptr);
            continue;
        }
        const char* const value = i + 1 < words.size() ? words[++i] : "";
        if (!writeArgument(in.get(), type, value)) {
            fprintf(
                stderr,
                "service: argument '%s %s' is wrong; give i32, i64, f or d with a number, s16 with "
                "a text, or null\n",
                escaped(type).c_str(), escaped(value).c_str());
            return kBadUsage;
        }
    }
    const binder_status_t status = AIBinder_transact(
        binder.get(), static_cast<transaction_code_t>(code), in.getR(), out.getR(), 0);
    if (status != STATUS_OK) {
        fprintf(stderr, "service: call failed: %s\n",
                ndk::ScopedAStatus::fromStatus(status).getDescription().c_str());
        return 1;
    }
    printReply(out.get());
    return 0;
}

int run(int argc, char** argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "list" && argc == 2) return list();
    if (command == "check" && argc == 3) return check(argv[2]);
    if (command == "call" && argc >= 4) return call(argv[2], argv[3], {argv + 4, argv + argc});
    fputs(kUsage, stderr);
    return kBadUsage;
}

}  // namespace

int main(int argc, char** argv) {
    if (android::tools::answersForItself(argc, argv, kUsage)) return exitStatus("service", 0);
    // Without destructors: a call that hangs still uses the runtime on its thread.
    _exit(exitStatus("service", run(argc, argv)));
}
