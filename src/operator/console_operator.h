#pragma once
// The operator on a console. A box is printed with its title and text; on a terminal the
// operator picks a button by number or caption (an empty line takes the default button).
// Unattended (`evet`): Yes/No questions are answered Yes, Retry/Cancel boxes Cancel and
// Abort/Retry/Ignore boxes Abort, so that a run never loops; OK boxes are acknowledged.
// Without a terminal and without `evet` every box takes its default button, except that a
// Retry/Cancel box is cancelled. Status, module
// states and progress go to the same output stream.

#include <istream>
#include <ostream>

#include "operator/operator.h"

namespace px::op {

class ConsoleOperator : public Operator {
 public:
  ConsoleOperator(std::istream& in, std::ostream& out, bool terminal, bool evet)
      : in_(in), out_(out), terminal_(terminal), evet_(evet) {}

  Answer Ask(const Box& box) override;
  void SetStatus(std::string_view text) override;
  void SetProgress(int value, int maximum) override;
  void SetModuleState(std::string_view module, std::string_view state) override;
  // The wait window's labels print as status lines; its progress bar as the progress.
  void ShowWaitWindow(bool) override {}
  void SetWaitLabel(int, std::string_view text) override { SetStatus(text); }
  void SetWaitProgress(int value, int maximum) override { SetProgress(value, maximum); }
  // On a terminal only: one line rewritten in place.
  void SetTableProgress(std::string_view module, std::string_view database,
                        std::string_view table, int64_t rows_done, int64_t rows_total) override;

  // The answer an unattended run gives to a box.
  static Answer UnattendedAnswer(const Box& box);

 private:
  Answer Prompt(const Box& box);

  std::istream& in_;
  std::ostream& out_;
  bool terminal_;
  bool evet_;
  std::string status_;
  int percent_ = -1;
};

// True when both standard input and standard error are terminals.
bool StandardStreamsAreTerminal();

}  // namespace px::op
