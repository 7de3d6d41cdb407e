// SPDX-License-Identifier: Apache-2.0
#include "screen.h"

// Functions only: as macros, the names of curses are everywhere.
#define NCURSES_NOMACROS
#include <android/binder_auto_utils.h>
#include <curses.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <langinfo.h>
#include <locale.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "failure.h"
#include "text.h"

namespace wlc {
namespace {

sigset_t resizeSignal() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGWINCH);
    return set;
}

attr_t attributesOf(Style style) {
    switch (style) {
        case Style::kPlain:
            return A_NORMAL;
        case Style::kBold:
            return A_BOLD;
        case Style::kReverse:
            return A_REVERSE;
    }
    return A_NORMAL;
}

bool canMoveCursor() {
    const char* const sequence = tigetstr("cup");
    // -1 for a capability that is not a text.
    return sequence != nullptr && sequence != reinterpret_cast<const char*>(-1);
}

}  // namespace

struct Screen::Terminal {
    SCREEN* screen = nullptr;
    bool unicode = false;
    ndk::ScopedFileDescriptor resized;
    ndk::ScopedFileDescriptor error;  // the real standard error, while it is dropped
};

Screen::Screen(bool ascii) : mTerminal(std::make_unique<Terminal>()) {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        throw badUsage("top needs a terminal; use wlc status or wlc watch without one");
    }
    setlocale(LC_CTYPE, "");
    mTerminal->unicode = !ascii && std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    // Before curses could install a handler of its own.
    const sigset_t resize = resizeSignal();
    pthread_sigmask(SIG_BLOCK, &resize, nullptr);
    mTerminal->resized.set(signalfd(-1, &resize, SFD_CLOEXEC | SFD_NONBLOCK));
    if (mTerminal->resized.get() < 0) throw std::runtime_error("cannot create a signal descriptor");
    mTerminal->screen = newterm(nullptr, stdout, stdin);
    if (mTerminal->screen == nullptr || !canMoveCursor()) {
        const char* const type = std::getenv("TERM");
        if (mTerminal->screen != nullptr) {
            endwin();
            delscreen(mTerminal->screen);
        }
        throw badUsage(fmt::format(
            "top cannot use a terminal of the type '{}'; set TERM to what it is, or to vt100",
            type == nullptr ? "" : printable(type)));
    }
    cbreak();
    noecho();
    nodelay(stdscr, TRUE);
    curs_set(0);
    // Lines that move up or down need not be written again.
    idlok(stdscr, TRUE);
    if (isatty(STDERR_FILENO) != 0) {
        mTerminal->error.set(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
        const ndk::ScopedFileDescriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (mTerminal->error.get() >= 0) dup2(null.get(), STDERR_FILENO);
    }
}

Screen::~Screen() {
    endwin();
    delscreen(mTerminal->screen);
    if (mTerminal->error.get() >= 0) dup2(mTerminal->error.get(), STDERR_FILENO);
    const sigset_t resize = resizeSignal();
    pthread_sigmask(SIG_UNBLOCK, &resize, nullptr);
}

PageSize Screen::size() const {
    return {static_cast<size_t>(LINES), static_cast<size_t>(COLS), mTerminal->unicode};
}

void Screen::show(const std::vector<Line>& lines) {
    erase();
    for (size_t row = 0; row < lines.size(); ++row) {
        move(static_cast<int>(row), 0);
        for (const Span& span : lines[row]) {
            attrset(attributesOf(span.style));
            addstr(span.text.c_str());
        }
    }
    attrset(A_NORMAL);
    refresh();
}

int Screen::resizeDescriptor() const {
    return mTerminal->resized.get();
}

void Screen::adaptSize() {
    signalfd_siginfo info;
    while (read(mTerminal->resized.get(), &info, sizeof(info)) == sizeof(info)) {
    }
    winsize now = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &now) != 0 || now.ws_row == 0 || now.ws_col == 0) return;
    resizeterm(now.ws_row, now.ws_col);
}

int Screen::key() {
    pollfd wait = {STDIN_FILENO, POLLIN, 0};
    if (poll(&wait, 1, 0) <= 0) return 0;
    const int key = getch();
    return key == ERR ? kGone : key;
}

void Screen::redraw() {
    clearok(stdscr, TRUE);
}

}  // namespace wlc
