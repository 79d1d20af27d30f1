#pragma once
// An operator for tests: answers boxes from a script, in order, and records every box,
// status text, progress step and module state exactly. A box asked when the script is
// exhausted takes its default button and is counted in `unscripted`; a scripted answer
// that is not one of the box's buttons is noted in `misfits`.

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "operator/operator.h"

namespace px::op {

class ScriptedOperator : public Operator {
 public:
  ScriptedOperator() = default;
  explicit ScriptedOperator(std::vector<Answer> script) : script_(script.begin(), script.end()) {}

  void Queue(Answer answer) { script_.push_back(answer); }
  size_t pending() const { return script_.size(); }

  Answer Ask(const Box& box) override;
  void SetStatus(std::string_view text) override { statuses.emplace_back(text); }
  void SetProgress(int value, int maximum) override { progress.emplace_back(value, maximum); }
  void SetModuleState(std::string_view module, std::string_view state) override {
    module_states.emplace_back(std::string(module), std::string(state));
  }

  void ShowWaitWindow(bool shown) override { wait_window.push_back(shown); }
  void SetWaitLabel(int label, std::string_view text) override {
    wait_labels.emplace_back(label, std::string(text));
  }
  void SetWaitProgress(int value, int maximum) override {
    wait_progress.emplace_back(value, maximum);
  }

  std::vector<Box> boxes;
  std::vector<std::string> statuses;
  std::vector<std::pair<int, int>> progress;
  std::vector<std::pair<std::string, std::string>> module_states;
  std::vector<bool> wait_window;  // each show (true) and close (false)
  std::vector<std::pair<int, std::string>> wait_labels;
  std::vector<std::pair<int, int>> wait_progress;
  int unscripted = 0;
  std::vector<std::string> misfits;

 private:
  std::deque<Answer> script_;
};

}  // namespace px::op
