// SPDX-License-Identifier: Apache-2.0
#include "top_page.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "terminal_text.h"
#include "text.h"

namespace wlc {
namespace {

// From here on plots stand beside the rest.
constexpr size_t kTwoBlocksColumns = 140;
// Below this, labels are the short ones and plots have no axis.
constexpr size_t kNarrowColumns = 56;
constexpr size_t kAxisColumns = 9;
constexpr size_t kTallestPlot = 12;
constexpr size_t kGap = 2;
constexpr size_t kOutcomes = 3;
// A line that waits shorter is not worth a word.
constexpr double kWaitingSeconds = 2;

// What fits into a block of the page of this width.
class Block {
  public:
    Block(const PageSize& page, size_t columns)
        : mUnicode(page.unicode),
          mColumns(columns),
          mNarrow(columns < kNarrowColumns),
          mLabelColumns(std::min<size_t>(columns, mNarrow ? 12 : 18)) {}

    bool unicode() const { return mUnicode; }
    bool narrow() const { return mNarrow; }
    size_t columns() const { return mColumns; }
    // Behind the label.
    size_t textColumns() const { return mColumns - mLabelColumns; }

    Line line(const std::string& label, const std::string& text) const {
        return {{fitted(label, mLabelColumns, mUnicode), Style::kBold},
                {fitted(text, textColumns(), mUnicode)}};
    }
    // A name at the left of the label, a value at its right.
    Line line(const std::string& name, const std::string& value, const std::string& text) const {
        const size_t room = mLabelColumns - std::min(mLabelColumns, columnsOf(name, mUnicode) + 1);
        const size_t taken = std::min(room, columnsOf(value, mUnicode) + 1);
        return {{fitted(name, mLabelColumns - taken, mUnicode), Style::kBold},
                {fitted(value, taken, mUnicode)},
                {fitted(text, textColumns(), mUnicode)}};
    }

  private:
    const bool mUnicode;
    const size_t mColumns;
    const bool mNarrow;
    const size_t mLabelColumns;
};

std::string clockTime(std::chrono::system_clock::time_point time, bool toMilliseconds) {
    return localTime(time).substr(0, toMilliseconds ? 12 : 8);
}

std::string inUnits(double seconds) {
    if (seconds < 120) return fmt::format("{:.0f} s", seconds);
    return seconds < 7200 ? fmt::format("{:.1f} min", seconds / 60)
                          : fmt::format("{:.1f} h", seconds / 3600);
}

Line headerLine(const TopState& state, const PageSize& size) {
    constexpr std::string_view kKeys = " q quits ";
    std::string text = " wlc top";
    if (state.time() != decltype(state.time())()) text += "  " + clockTime(state.time(), false);
    if (state.waitingSeconds() >= kWaitingSeconds) {
        text += fmt::format("  no answer for {:.0f} s", std::floor(state.waitingSeconds()));
    } else if (!state.trouble().empty()) {
        text += "  " + state.trouble();
    } else {
        text += fmt::format("  every {:g} s", state.interval());
    }
    const size_t keys = size.columns >= text.size() + kKeys.size() ? kKeys.size() : 0;
    return {{fitted(text, size.columns - keys, size.unicode) + std::string(kKeys.substr(0, keys)),
             Style::kReverse}};
}

// Text without as many words that matter least as it takes to fit.
std::string shortened(std::string text, const Block& block) {
    for (const std::string_view word :
         {" (vendor-defined unit)", " (vendor-defined)", " levels", " temp"}) {
        if (columnsOf(text, block.unicode()) <= block.textColumns()) break;
        for (size_t at = 0; (at = text.find(word)) != std::string::npos;) {
            text.erase(at, word.size());
        }
    }
    return text;
}

std::string labelOf(const StatusLine& line, const Block& block) {
    if (!block.narrow()) return line.label;
    return line.key == "authentication" ? "auth" : line.key;
}

std::vector<Line> statusLines(const TopState& state, const Block& block) {
    std::vector<Line> lines;
    for (const StatusLine& line : state.lines()) {
        lines.push_back(block.line(labelOf(line, block), shortened(line.text, block)));
    }
    return lines;
}

std::string valueText(const Sample& sample, Series series) {
    const double value = sample[series];
    if (series == kAlignment) return "";
    if (std::isnan(value)) return "-";
    const bool degrees = series == kBoostTemperature || series == kPuckTemperature;
    return fmt::format("{:.0f}{}", value, degrees ? " °C" : "");
}

void appendPlot(const TopState& state, const Block& block, Series series, const char* name,
                size_t rows, std::vector<Line>* lines) {
    const size_t axisColumns = block.narrow() ? 0 : std::min(kAxisColumns, block.textColumns());
    const size_t columns = block.textColumns() - axisColumns;
    const auto values = state.history().latest(series, slotsIn(columns, block.unicode()));
    const bool hasAxis = axisColumns != 0 && std::any_of(values.begin(), values.end(),
                                                         [](double v) { return !std::isnan(v); });
    if (series == kAlignment) {
        lines->push_back(block.line(name, alignmentRow(values, columns, block.unicode())));
        return;
    }
    const bool degrees = series == kBoostTemperature || series == kPuckTemperature;
    const Axis axis = degrees ? axisAround(values) : axisFromZero(values);
    const auto plot = plotRows(values, axis, columns, rows, block.unicode());
    for (size_t row = 0; row < rows; ++row) {
        std::string text = plot[row];
        if (hasAxis && rows == 1) text += fmt::format(" {:g}-{:g}", axis.low, axis.high);
        if (hasAxis && rows > 1 && row == 0) text += fmt::format(" {:g}", axis.high);
        if (hasAxis && rows > 1 && row == rows - 1) text += fmt::format(" {:g}", axis.low);
        lines->push_back(row == 0 ? block.line(name, valueText(state.latest(), series), text)
                                  : block.line("", text));
    }
}

// `rows` for each plot that has an axis.
std::vector<Line> plotLines(const TopState& state, const Block& block, size_t rows) {
    const size_t columns = block.textColumns() - (block.narrow() ? 0 : kAxisColumns);
    const auto slots =
        static_cast<double>(std::min(slotsIn(columns, block.unicode()), History::kCapacity));
    std::vector<Line> lines;
    lines.push_back(block.line(
        fmt::format("{}{}", block.narrow() ? "" : "last ", inUnits(slots * state.interval())),
        fmt::format("{} aligned, x not, ? unknown, . not charging", block.unicode() ? "━" : "=")));
    appendPlot(state, block, kAlignment, "alignment", 1, &lines);
    appendPlot(state, block, kPower, "power", rows, &lines);
    appendPlot(state, block, kBoostTemperature, "boost", rows, &lines);
    appendPlot(state, block, kPuckTemperature, "puck", rows, &lines);
    appendPlot(state, block, kFanLevel, "fan", rows, &lines);
    return lines;
}

Line entryLine(const TopState::Entry& entry, const Block& block) {
    const bool narrow = block.narrow();
    return {{fitted(clockTime(entry.time, !narrow) + (narrow ? " " : "  ") + entry.text,
                    block.columns(), block.unicode())}};
}

// Of this program: the service does not tell about those of others.
std::vector<Line> requestLines(const TopState& state, const Block& block) {
    const TopState::Timing& timing = state.timing();
    std::vector<Line> lines;
    std::string text = "none answered yet";
    if (timing.polls != 0) {
        text = fmt::format("{} answered, latest in {:.1f} ms, mean {:.1f}, longest {:.1f}",
                           timing.polls, timing.lastMs,
                           timing.sumMs / static_cast<double>(timing.polls), timing.longestMs);
        const std::string slowest =
            fmt::format("; slowest: {} {:.1f}", timing.slowest, timing.slowestMs);
        if (text.size() + slowest.size() <= block.textColumns()) text += slowest;
    }
    lines.push_back(block.line("own polls", text));
    for (size_t i = 0; i < std::min(kOutcomes, state.outcomes().size()); ++i) {
        lines.push_back(entryLine(state.outcomes()[i], block));
    }
    return lines;
}

std::vector<Line> eventLines(const TopState& state, const Block& block, size_t rows) {
    std::vector<Line> lines;
    lines.push_back(block.line(
        "events", state.eventCount() == 0 ? "none yet"
                                          : fmt::format("{}, newest first", state.eventCount())));
    for (size_t i = 0; i < state.events().size() && lines.size() < rows; ++i) {
        lines.push_back(entryLine(state.events()[i], block));
    }
    return lines;
}

void append(std::vector<Line>* lines, std::vector<Line> more) {
    std::move(more.begin(), more.end(), std::back_inserter(*lines));
}

// The right block's lines behind the left one's.
std::vector<Line> sideBySide(std::vector<Line> left, const std::vector<Line>& right,
                             size_t leftColumns) {
    left.resize(std::max(left.size(), right.size()));
    for (size_t i = 0; i < right.size(); ++i) {
        if (left[i].empty()) left[i].push_back({std::string(leftColumns, ' ')});
        left[i].push_back({std::string(kGap, ' ')});
        left[i].insert(left[i].end(), right[i].begin(), right[i].end());
    }
    return left;
}

}  // namespace

std::vector<Line> topPage(const TopState& state, const PageSize& size) {
    if (size.rows == 0 || size.columns == 0) return {};
    const size_t rows = size.rows - 1;
    std::vector<Line> lines;
    // Heading and alignment of the plots; the others share what is left.
    constexpr size_t kFlatRows = 2;
    constexpr size_t kTallPlots = kSeriesCount - 1;
    const bool twoBlocks = size.columns >= kTwoBlocksColumns;
    const size_t leftColumns = twoBlocks ? size.columns / 2 : size.columns;
    const Block left(size, leftColumns);
    append(&lines, statusLines(state, left));
    if (!twoBlocks) {
        // Beside requests and a few events.
        constexpr size_t kOtherRows = 2 + kOutcomes + 6;
        const size_t taken = std::min(rows, lines.size() + kFlatRows + kOtherRows);
        append(&lines, plotLines(state, left,
                                 std::clamp<size_t>((rows - taken) / kTallPlots, 1, kTallestPlot)));
    }
    append(&lines, requestLines(state, left));
    append(&lines, eventLines(state, left, rows - std::min(rows, lines.size())));
    if (twoBlocks) {
        const Block right(size, size.columns - leftColumns - kGap);
        const size_t room = rows - std::min(rows, kFlatRows);
        lines = sideBySide(
            std::move(lines),
            plotLines(state, right, std::clamp<size_t>(room / kTallPlots, 1, kTallestPlot)),
            leftColumns);
    }
    lines.insert(lines.begin(), headerLine(state, size));
    lines.resize(std::min(lines.size(), size.rows));
    return lines;
}

}  // namespace wlc
