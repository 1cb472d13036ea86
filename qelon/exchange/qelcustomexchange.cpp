#include "qelon/exchange/qelexchange.h"

#include "qelon/scene/qelobj.h"

namespace {

// The level word a message line starts with; the leading spaces indent by
// severity.
std::string LevelWord(int32_t level) {
  switch (level) {
    case qlCritical: return "Critical:";
    case qlError: return " Error:";
    case qlWarning: return "  Warning:";
    case qlHint: return "   Hint:";
    case qlPlain: return "    ";
    default: return std::to_string(level);
  }
}

}  // namespace

TQelCustomExchange::TQelCustomExchange(TComponent* AOwner) : TQelRender(AOwner) {}

void TQelCustomExchange::SetObjectNode(TQelNode* value) {
  if (objectNode_ == value) return;
  if (objectNode_) objectNode_->RemoveFreeNotification(this);
  objectNode_ = value;
  if (objectNode_) objectNode_->FreeNotification(this);
}

void TQelCustomExchange::Notification(TComponent* AComponent, TOperation Operation) {
  TQelRender::Notification(AComponent, Operation);
  if (Operation == opRemove && AComponent == objectNode_) objectNode_ = nullptr;
}

void TQelCustomExchange::Progress(const std::string& text, double fraction) {
  phase_ = text;
  if (OnProgress) OnProgress(fraction, text);
}

void TQelCustomExchange::SubProgressStep(double fraction) {
  if (OnProgress && progressTotal_ > 0)
    OnProgress((progressDone_ + fraction) / progressTotal_, phase_);
}

void TQelCustomExchange::Log(int32_t level, const std::string& text) {
  if (level <= messageLevel_) messages_.push_back(LevelWord(level) + " " + text);
}

void TQelCustomExchange::StartProgress(const std::string& phase, int32_t total) {
  phase_ = phase;
  progressDone_ = 0;
  progressTotal_ = total;
}

void TQelCustomExchange::StepProgress() {
  ++progressDone_;
  if (OnProgress && progressTotal_ > 0)
    OnProgress(static_cast<double>(progressDone_) / progressTotal_, phase_);
}

