// Shows how far a long job is.
//
// Room: demo. Includes libc and this folder.
#include "demo/progress.h"

#include "demo/text.h"

#include <algorithm>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace demo {

namespace {

constexpr auto redraw_after = std::chrono::milliseconds(50);
constexpr uint64_t plain_lines = 4; // enough to see that something moves

unsigned terminal_columns() {
  winsize size{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

} // namespace

std::string bar_text(const std::string &what, uint64_t done, uint64_t total, unsigned columns) {
  const uint64_t shown_count = std::min(done, total);
  const uint64_t percent = total == 0 ? 100 : shown_count * 100 / total;
  const std::string total_text = grouped(total), shown_text = grouped(shown_count);
  // One width from the first to the last, so that the bar does not change its length.
  const std::string padding(total_text.size() - shown_text.size(), ' ');
  const std::string label = formatted(" %3u%% ", static_cast<unsigned>(percent)) + padding +
                            shown_text + " of " + total_text;
  const size_t taken = what.size() + label.size() + 4; // blank, brackets, the last column
  if (columns <= taken + 4)
    return what + label;
  const size_t width = std::min<size_t>(columns - taken, 50);
  const size_t filled = width * percent / 100;
  return what + " [" + std::string(filled, '#') + std::string(width - filled, '-') + "]" + label;
}

progress::progress(std::string what, uint64_t total)
    : verb(std::move(what)), all(total), on_terminal(isatty(STDOUT_FILENO) == 1) {
  next_line_at = std::max<uint64_t>(1, all / plain_lines);
}

void progress::advance_to(uint64_t done) {
  if (on_terminal)
    draw_bar(done);
  else
    print_line(done);
}

void progress::draw_bar(uint64_t done) {
  const auto now = std::chrono::steady_clock::now();
  if (now < next_draw && done < all)
    return;
  next_draw = now + redraw_after;
  // Erase to the end of the line: the text may have become shorter.
  print("\r%s\033[K", bar_text(verb, done, all, terminal_columns()).c_str());
  bar_open = true;
}

void progress::print_line(uint64_t done) {
  if (done < next_line_at)
    return;
  print("%s: %s of %s routes\n", verb.c_str(), grouped(done).c_str(), grouped(all).c_str());
  next_line_at =
      done < all ? std::min(all, done + std::max<uint64_t>(1, all / plain_lines)) : all + 1;
}

void progress::finish() {
  if (std::exchange(bar_open, false))
    print("\n");
}

} // namespace demo
