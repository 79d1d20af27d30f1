#include <gtest/gtest.h>

#include <sstream>

#include "operator/console_operator.h"
#include "operator/scripted_operator.h"

namespace px::op {
namespace {

Box Question() {
  return Box{"Silinsin mi?", "Pergonix Yedek", Icon::kQuestion, Buttons::kYesNo, 2};
}

TEST(Box, DefaultButtonPicksAmongTheButtons) {
  EXPECT_EQ(DefaultAnswer(Question()), Answer::kNo);
  EXPECT_EQ(DefaultAnswer({"", "", Icon::kNone, Buttons::kYesNoCancel, 3}), Answer::kCancel);
  EXPECT_EQ(DefaultAnswer({"", "", Icon::kNone, Buttons::kRetryCancel, 1}), Answer::kRetry);
  EXPECT_EQ(DefaultAnswer({"", "", Icon::kNone, Buttons::kOk, 2}), Answer::kOk);
  EXPECT_EQ(DefaultAnswer({"", "", Icon::kNone, Buttons::kAbortRetryIgnore, 0}), Answer::kAbort);
}

struct Console {
  explicit Console(std::string input, bool terminal, bool evet)
      : in(std::move(input)), op(in, out, terminal, evet) {}
  std::istringstream in;
  std::ostringstream out;
  ConsoleOperator op;
};

TEST(ConsoleOperator, EvetAnswersYesNoWithYesAndRetryCancelWithCancel) {
  Console c("", true, true);
  EXPECT_EQ(c.op.Ask(Question()), Answer::kYes);
  EXPECT_EQ(c.op.Ask({"Disk dolu", "Uyarı", Icon::kExclamation, Buttons::kRetryCancel, 1}),
            Answer::kCancel);
  EXPECT_EQ(c.op.Ask({"x", "y", Icon::kNone, Buttons::kAbortRetryIgnore, 2}), Answer::kAbort);
  EXPECT_EQ(c.op.Ask({"x", "y", Icon::kNone, Buttons::kYesNoCancel, 3}), Answer::kYes);
  EXPECT_EQ(c.op.Ask({"x", "y", Icon::kNone, Buttons::kOk, 1}), Answer::kOk);
  EXPECT_NE(c.out.str().find("Silinsin mi?"), std::string::npos);
  EXPECT_NE(c.out.str().find("-> Evet (--evet)"), std::string::npos);
}

TEST(ConsoleOperator, WithoutTerminalTheDefaultButtonAnswersButRetryIsNeverLooped) {
  Console c("6\nEvet\n", false, false);
  EXPECT_EQ(c.op.Ask(Question()), Answer::kNo);
  EXPECT_EQ(c.op.Ask({"x", "y", Icon::kNone, Buttons::kRetryCancel, 1}), Answer::kCancel);
  EXPECT_EQ(c.op.Ask({"x", "y", Icon::kNone, Buttons::kOkCancel, 1}), Answer::kOk);
  EXPECT_NE(c.out.str().find("-> Hayır (varsayılan)"), std::string::npos);
}

TEST(ConsoleOperator, TerminalAcceptsNumberCaptionOrEmptyLine) {
  Console c("1\nhayır\n\nsaçma\n2\n", true, false);
  EXPECT_EQ(c.op.Ask(Question()), Answer::kYes);
  EXPECT_EQ(c.op.Ask(Question()), Answer::kNo);
  EXPECT_EQ(c.op.Ask({"x", "y", Icon::kNone, Buttons::kRetryCancel, 1}), Answer::kRetry);
  // An unknown answer asks again.
  EXPECT_EQ(c.op.Ask({"x", "y", Icon::kNone, Buttons::kRetryCancel, 1}), Answer::kCancel);
  // End of input takes the default.
  EXPECT_EQ(c.op.Ask(Question()), Answer::kNo);
}

TEST(ConsoleOperator, ShowsLinesStatusAndModuleStates) {
  Console c("", false, false);
  c.op.Ask({"Hata No: 5\r\nAçıklama: x", "HATA", Icon::kExclamation, Buttons::kOk, 1});
  c.op.SetStatus("Cari Yedekleniyor");
  c.op.SetStatus("Cari Yedekleniyor");
  c.op.SetModuleState("Cari", "Tamam");
  c.op.SetProgress(5, 10);  // not a terminal: no progress output
  EXPECT_EQ(c.out.str(),
            "\n== HATA (UYARI) ==\nHata No: 5\nAçıklama: x\n-> Tamam (varsayılan)\n"
            "Cari Yedekleniyor\nCari: Tamam\n");
}

TEST(ConsoleOperator, WaitWindowLabelsPrintAsStatusLines) {
  Console c("", false, false);
  c.op.ShowWaitWindow(true);
  c.op.SetWaitLabel(2, "2009 Yılına Ait Şirketlerin Yedekleri Geri Alınıyor...");
  c.op.SetWaitLabel(1, "Geri Alınan Şirket: 001");
  c.op.SetWaitProgress(0, 2);
  c.op.ShowWaitWindow(false);
  EXPECT_EQ(c.out.str(),
            "2009 Yılına Ait Şirketlerin Yedekleri Geri Alınıyor...\nGeri Alınan Şirket: 001\n");
}

// What the flow tests read (boxes, statuses, progress, "Durum" cells) is checked by them;
// here the answers that do not fit their box and the boxes answered by default.
TEST(ScriptedOperator, NotesMisfitsAndUnscriptedBoxes) {
  ScriptedOperator op({Answer::kYes, Answer::kRetry});
  EXPECT_EQ(op.Ask(Question()), Answer::kYes);
  EXPECT_EQ(op.Ask(Question()), Answer::kRetry);  // not a Yes/No answer
  EXPECT_EQ(op.Ask(Question()), Answer::kNo);     // the script is exhausted: the default
  EXPECT_EQ(op.boxes.size(), 3u);
  EXPECT_EQ(op.unscripted, 1);
  EXPECT_EQ(op.misfits, std::vector<std::string>{"Yeniden Dene to \"Silinsin mi?\""});
}

}  // namespace
}  // namespace px::op
