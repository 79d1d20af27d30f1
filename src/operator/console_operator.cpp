#include "operator/console_operator.h"

#include <iostream>
#include <string>

#include "platform/console.h"
#include "platform/text_case.h"

namespace px::op {
namespace {

// Prompts repeated on unreadable input before the default is taken.
constexpr int kMaxPrompts = 20;

std::string_view IconCaption(Icon icon) {
  switch (icon) {
    case Icon::kCritical:
      return "HATA";
    case Icon::kQuestion:
      return "SORU";
    case Icon::kExclamation:
      return "UYARI";
    case Icon::kInformation:
      return "BİLGİ";
    case Icon::kNone:
      break;
  }
  return "";
}

// The box's text with "\r\n" printed as plain line breaks.
std::string PlainLines(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c != '\r') out += c;
  }
  return out;
}

}  // namespace

Answer ConsoleOperator::UnattendedAnswer(const Box& box) {
  switch (box.buttons) {
    case Buttons::kYesNo:
    case Buttons::kYesNoCancel:
      return Answer::kYes;
    case Buttons::kRetryCancel:
      return Answer::kCancel;
    case Buttons::kAbortRetryIgnore:
      return Answer::kAbort;
    case Buttons::kOk:
    case Buttons::kOkCancel:
      return Answer::kOk;
  }
  return DefaultAnswer(box);
}

Answer ConsoleOperator::Ask(const Box& box) {
  if (percent_ >= 0) out_ << "\n";
  percent_ = -1;
  out_ << "\n== " << box.title;
  if (auto icon = IconCaption(box.icon); !icon.empty()) out_ << " (" << icon << ")";
  out_ << " ==\n" << PlainLines(box.text) << "\n";
  Answer answer;
  if (evet_) {
    answer = UnattendedAnswer(box);
    out_ << "-> " << AnswerCaption(answer) << " (--evet)\n";
  } else if (!terminal_) {
    // Nobody can change the disk: a Retry/Cancel box is cancelled instead of looping.
    answer = box.buttons == Buttons::kRetryCancel ? Answer::kCancel : DefaultAnswer(box);
    out_ << "-> " << AnswerCaption(answer) << " (varsayılan)\n";
  } else {
    answer = Prompt(box);
  }
  out_.flush();
  return answer;
}

Answer ConsoleOperator::Prompt(const Box& box) {
  const auto answers = ButtonAnswers(box.buttons);
  const Answer fallback = DefaultAnswer(box);
  for (int attempt = 0; attempt < kMaxPrompts; ++attempt) {
    for (size_t i = 0; i < answers.size(); ++i) {
      out_ << (i ? "  " : "") << "[" << i + 1 << "] " << AnswerCaption(answers[i]);
    }
    out_ << "  (varsayılan: " << AnswerCaption(fallback) << ") > " << std::flush;
    std::string typed;
    if (!std::getline(in_, typed)) return fallback;
    // Typed on the console: in its code page. Other streams carry UTF-8 already.
    const std::string line = &in_ == &std::cin ? InputLineToUtf8(typed) : typed;
    std::string_view choice = TrimBlanks(line);
    if (!choice.empty() && choice.back() == '\r') choice.remove_suffix(1);
    if (choice.empty()) return fallback;
    for (size_t i = 0; i < answers.size(); ++i) {
      if (choice == std::to_string(i + 1) || EqualsIgnoreCase(choice, AnswerCaption(answers[i]))) {
        return answers[i];
      }
    }
  }
  return fallback;
}

void ConsoleOperator::SetStatus(std::string_view text) {
  if (text == status_) return;
  status_ = text;
  if (text.empty()) return;
  if (percent_ >= 0) out_ << "\n";
  percent_ = -1;
  out_ << text << "\n" << std::flush;
}

void ConsoleOperator::SetProgress(int value, int maximum) {
  if (!terminal_ || maximum <= 0) return;
  const int percent = value <= 0 ? 0 : value >= maximum ? 100 : int(100LL * value / maximum);
  if (percent == percent_) return;
  percent_ = percent;
  out_ << "\r%" << percent << std::flush;
}

void ConsoleOperator::SetTableProgress(std::string_view module, std::string_view database,
                                       std::string_view table, int64_t rows_done,
                                       int64_t rows_total) {
  if (!terminal_) return;
  out_ << "\r" << module << " / " << database << " / " << table << ": " << rows_done;
  if (rows_total >= 0) out_ << " / " << rows_total;
  out_ << " satır" << (rows_total >= 0 && rows_done >= rows_total ? "\n" : "\033[K") << std::flush;
}

void ConsoleOperator::SetModuleState(std::string_view module, std::string_view state) {
  if (percent_ >= 0) out_ << "\n";
  percent_ = -1;
  out_ << module << ": " << state << "\n" << std::flush;
}

bool StandardStreamsAreTerminal() {
  return StandardInputAndErrorAreTerminal();
}

}  // namespace px::op
