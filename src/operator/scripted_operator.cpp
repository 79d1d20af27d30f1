#include "operator/scripted_operator.h"

#include <algorithm>

namespace px::op {

Answer ScriptedOperator::Ask(const Box& box) {
  boxes.push_back(box);
  if (script_.empty()) {
    ++unscripted;
    return DefaultAnswer(box);
  }
  const Answer answer = script_.front();
  script_.pop_front();
  const auto allowed = ButtonAnswers(box.buttons);
  if (std::find(allowed.begin(), allowed.end(), answer) == allowed.end()) {
    misfits.push_back(std::string(AnswerCaption(answer)) + " to \"" + box.text + "\"");
  }
  return answer;
}

}  // namespace px::op
