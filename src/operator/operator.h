#pragma once
// How the flows talk to the operator: message boxes that return the operator's answer,
// the text of the status bar's second panel, the progress bar, a module's "Durum"
// cell in the module lists, and the year restore's wait window. The window, the console and the
// tests each implement it.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace px::op {

// Button sets, icons and answers with the values of VB's MsgBox constants.
enum class Buttons {
  kOk = 0,
  kOkCancel = 1,
  kAbortRetryIgnore = 2,
  kYesNoCancel = 3,
  kYesNo = 4,
  kRetryCancel = 5
};
enum class Icon { kNone = 0, kCritical = 16, kQuestion = 32, kExclamation = 48, kInformation = 64 };
enum class Answer { kOk = 1, kCancel = 2, kAbort = 3, kRetry = 4, kIgnore = 5, kYes = 6, kNo = 7 };

struct Box {
  std::string text;  // lines joined by "\r\n"
  std::string title;
  Icon icon = Icon::kNone;
  Buttons buttons = Buttons::kOk;
  int default_button = 1;  // 1-based position among the buttons
  bool operator==(const Box&) const = default;
};

// The answers of a button set, in the order the buttons appear.
std::vector<Answer> ButtonAnswers(Buttons buttons);
// The answer of the default button; the first button when the default is out of range.
Answer DefaultAnswer(const Box& box);
// "Tamam", "İptal", "Durdur", "Yeniden Dene", "Yoksay", "Evet", "Hayır".
std::string_view AnswerCaption(Answer answer);

class Operator {
 public:
  virtual ~Operator() = default;

  virtual Answer Ask(const Box& box) = 0;
  // The status bar's second panel.
  virtual void SetStatus(std::string_view text) = 0;
  // The progress bar: `value` of `maximum` (maximum 0 hides it).
  virtual void SetProgress(int value, int maximum) = 0;
  // The "Durum" cell of a module (by display name): "Tamam", "Geç" or empty.
  virtual void SetModuleState(std::string_view module, std::string_view state) = 0;
  // The year restore's wait window: shown or closed, its labels 1 and 2, its progress bar.
  // An operator without such a window ignores them.
  virtual void ShowWaitWindow(bool /*shown*/) {}
  virtual void SetWaitLabel(int /*label*/, std::string_view /*text*/) {}
  virtual void SetWaitProgress(int /*value*/, int /*maximum*/) {}
  // Progress of a table export: the module (display name), database and table at work and
  // the rows written so far of `rows_total` (negative when not known). Optional.
  virtual void SetTableProgress(std::string_view /*module*/, std::string_view /*database*/,
                                std::string_view /*table*/, int64_t /*rows_done*/,
                                int64_t /*rows_total*/) {}

  // Shorthand for Ask with the box's parts.
  Answer Show(std::string text, std::string title, Icon icon, Buttons buttons = Buttons::kOk,
              int default_button = 1) {
    return Ask(Box{std::move(text), std::move(title), icon, buttons, default_button});
  }
};

}  // namespace px::op
