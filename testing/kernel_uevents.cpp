// SPDX-License-Identifier: Apache-2.0
#include "kernel_uevents.h"

#include <fcntl.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace test_support {
namespace {

constexpr char kTrigger[] = "/sys/class/mem/null/uevent";
constexpr char kUuid[] = "6d6f636b-7465-7374-0000-000000000002";

// The next message, or nothing when none is there. A sender other than 0 is a process.
std::string receive(int socket, unsigned* sender) {
    char message[8192];
    sockaddr_nl from{};
    socklen_t length = sizeof(from);
    const ssize_t size = recvfrom(socket, message, sizeof(message), MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr*>(&from), &length);
    *sender = from.nl_pid;
    return size > 0 ? std::string(message, static_cast<size_t>(size)) : std::string();
}

}  // namespace

KernelUevents::KernelUevents() : mFile(open(kTrigger, O_WRONLY | O_CLOEXEC)) {
    while (flock(mFile.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
}

bool KernelUevents::send(const std::string& lines) const {
    const std::string text = std::string("change ") + kUuid + " " + lines;
    return write(mFile.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

UeventWatch::UeventWatch()
    : mSocket(socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT)) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = 1;
    if (bind(mSocket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        mSocket.reset();
    }
}

UeventWatch::Heard UeventWatch::take() {
    Heard heard;
    unsigned sender = 0;
    for (std::string message; !(message = receive(mSocket.get(), &sender)).empty();) {
        if (sender != 0) {
            ++heard.forged;
        } else if (message.find("DRIVER=p9221") != std::string::npos) {
            ++heard.driver;
        }
    }
    return heard;
}

bool UeventWatch::waitFor(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    unsigned sender = 0;
    while (std::chrono::steady_clock::now() < end) {
        pollfd readable{mSocket.get(), POLLIN, 0};
        if (poll(&readable, 1, 100) <= 0) continue;
        if (receive(mSocket.get(), &sender).find(text) != std::string::npos) return true;
    }
    return false;
}

bool findUeventSocket(pid_t pid, NetlinkSocket* found) {
    std::set<std::string> sockets;
    std::error_code error;
    for (const auto& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd", error)) {
        const std::string target = std::filesystem::read_symlink(entry, error).string();
        if (target.starts_with("socket:[")) {
            sockets.insert(target.substr(8, target.size() - 9));
        }
    }
    std::ifstream table("/proc/net/netlink");
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line)) {
        std::istringstream in(line);
        std::string address, groups, written, dump, locks, inode;
        int protocol = 0;
        in >> address >> protocol >> found->port >> groups >> found->waiting >> written >> dump >>
            locks >> found->dropped >> inode;
        if (protocol == NETLINK_KOBJECT_UEVENT && sockets.count(inode) != 0) return true;
    }
    return false;
}

std::string whyNoKernelUevents() {
    if (geteuid() != 0) return "kernel uevents require root";
    if (access(kTrigger, W_OK) != 0) return "needs a writable /sys/class/mem/null/uevent";
    UeventWatch watch;
    if (!watch.ok()) return "needs the kernel's netlink socket for uevents";
    if (!KernelUevents().send("PROBE=1") || !watch.waitFor("SYNTH_ARG_PROBE=1")) {
        return "needs a network namespace that the kernel's uevents reach";
    }
    if (access("/dev/net/tun", R_OK | W_OK) != 0) return "needs /dev/net/tun";
    return {};
}

}  // namespace test_support
