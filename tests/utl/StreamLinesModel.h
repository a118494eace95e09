#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Where lines are broken and flushed, coded a second time: the model holds the whole
/// line so far as text and decides from it. A '|' is a flush.
class StreamLinesModel {
 public:
  explicit StreamLinesModel(std::size_t width) : width_(width) {}

  void Print(const std::string& text) {
    if (!breakable_) {
      Out(text);
      counted_ += text.size();
      if (counted_ > 500) {
        Out("|");
        counted_ = 0;
      }
    } else if (counted_ + held_.size() + text.size() <= width_) {
      held_ += text;
    } else {
      Out("\n|" + held_ + text);
      counted_ = held_.size() + text.size();
      held_ = "";
      breakable_ = false;
    }
  }

  void OptionalLineBreak() {
    Out(held_);
    counted_ += held_.size();
    held_ = "";
    breakable_ = true;
  }

  void LineBreak() {
    Out(held_ + "\n|");
    counted_ = held_.size();
    held_ = "";
    breakable_ = false;
  }

  void Flush() {
    Out(held_ + "|");
    counted_ = 0;
    held_ = "";
  }

  const std::string& Text() const { return text_; }

 private:
  void Out(std::string_view text) { text_ += text; }

  std::size_t width_;
  std::size_t counted_ = 0;
  bool breakable_ = false;
  std::string held_;
  std::string text_;
};
