#include "operator/operator.h"

namespace px::op {

std::vector<Answer> ButtonAnswers(Buttons buttons) {
  switch (buttons) {
    case Buttons::kOk:
      return {Answer::kOk};
    case Buttons::kOkCancel:
      return {Answer::kOk, Answer::kCancel};
    case Buttons::kAbortRetryIgnore:
      return {Answer::kAbort, Answer::kRetry, Answer::kIgnore};
    case Buttons::kYesNoCancel:
      return {Answer::kYes, Answer::kNo, Answer::kCancel};
    case Buttons::kYesNo:
      return {Answer::kYes, Answer::kNo};
    case Buttons::kRetryCancel:
      return {Answer::kRetry, Answer::kCancel};
  }
  return {Answer::kOk};
}

Answer DefaultAnswer(const Box& box) {
  const auto answers = ButtonAnswers(box.buttons);
  const int i = box.default_button - 1;
  if (i < 0 || i >= static_cast<int>(answers.size())) return answers.front();
  return answers[static_cast<size_t>(i)];
}

std::string_view AnswerCaption(Answer answer) {
  switch (answer) {
    case Answer::kOk:
      return "Tamam";
    case Answer::kCancel:
      return "İptal";
    case Answer::kAbort:
      return "Durdur";
    case Answer::kRetry:
      return "Yeniden Dene";
    case Answer::kIgnore:
      return "Yoksay";
    case Answer::kYes:
      return "Evet";
    case Answer::kNo:
      return "Hayır";
  }
  return "";
}

}  // namespace px::op
