#pragma once
// Scene files: saving a node with everything below it (or one component or
// property) as XML text, and loading such a file back into live objects.
//
//   TQelExchange exchange(nullptr);
//   exchange.SaveToFile("scene.xml", top);      // the node and its tree
//   exchange.LoadFromFile("scene.xml", fresh);  // items are added to fresh
//   for (auto& line : exchange.GetMessages()) ...
//
// Problems in a file are reported as messages with a level, and loading goes
// on; a file that cannot be read or written raises EQelFileError, a
// malformed number EQelConvertError naming the attribute and the file.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "qelon/exchange/qeliexchange.h"
#include "qelon/scene/qelcomp.h"

class TXMLParser;
class TQelNode;

enum TQelExchangeState {
  stReady,      // idle
  stSave,       // a node save has begun
  stQELGLSave,  // root tag written, writing objects
  stQELGLLoad,  // root tag read
  stStartLoad,  // load begun
  stEndSave,    // all tags closed, text ready to be stored
  stOBJLoad     // inside the objects tag while loading
};
extern const char* const TQelExchangeStateStr[7];

using TQelProgressEvent = std::function<void(double progress, const std::string& message)>;

// The message list, the level threshold, the default node and progress.
class TQelCustomExchange : public TQelRender {
  QEL_CLASS(TQelCustomExchange)
public:
  explicit TQelCustomExchange(TComponent* AOwner);

  // One line per message: the level word and the text joined by a space.
  const std::vector<std::string>& GetMessages() const { return messages_; }
  // Messages above this level are not logged (initially 40).
  int32_t GetMessageLevel() const { return messageLevel_; }
  void SetMessageLevel(int32_t value) { messageLevel_ = value; }
  // The node SaveToFile(name) and LoadFromFile(name) use.
  TQelNode* GetObjectNode() const { return objectNode_; }
  void SetObjectNode(TQelNode* value);

  TQelProgressEvent OnProgress;
  // Reports a named phase at a fraction.
  void Progress(const std::string& text, double fraction);
  // Reports progress within the current item.
  void SubProgressStep(double fraction);
  int32_t GetProgressDone() const { return progressDone_; }
  int32_t GetProgressTotal() const { return progressTotal_; }

  void Notification(TComponent* AComponent, TOperation Operation) override;

protected:
  void Log(int32_t level, const std::string& text);
  void ClearMessages() { messages_.clear(); }
  void StartProgress(const std::string& phase, int32_t total);
  void StepProgress();

private:
  std::vector<std::string> messages_;
  int32_t messageLevel_ = 40;
  TQelNode* objectNode_ = nullptr;
  std::string phase_;
  int32_t progressDone_ = 0;
  int32_t progressTotal_ = 0;
};

class TQelExchange : public TQelCustomExchange, public IQelExchange {
  QEL_CLASS(TQelExchange)
public:
  explicit TQelExchange(TComponent* AOwner);
  ~TQelExchange() override;

  // Each attribute after a tag's first on a line of its own.
  bool GetParamNewLine() const { return paramNewLine_; }
  void SetParamNewLine(bool value) { paramNewLine_ = value; }
  // Leave out values equal to their defaults, and tags left empty.
  bool GetNoDefaultValues() const { return noDefaultValues_; }
  void SetNoDefaultValues(bool value) { noDefaultValues_ = value; }
  // Significant digits of written floating-point numbers; 0 writes the
  // shortest text that reads back to the same value.
  int32_t GetDecimals() const { return decimals_; }
  void SetDecimals(int32_t value) { decimals_ = value < 0 ? 0 : value; }
  // The root tag's "description".
  const std::string& GetFileDescription() const { return fileDescription_; }
  void SetFileDescription(const std::string& value) { fileDescription_ = value; }
  TQelExchangeState GetState() const { return state_; }
  // The file being written or read.
  const std::string& GetFileName() const { return fileName_; }

  // Save object (a node with its tree, or one component or property) to
  // fileName. The old file is replaced only once the new one is complete.
  // False when refused: no file name, or a save or load is running.
  bool SaveToFile(const std::string& fileName, TPersistent* object);
  bool SaveToFile(const std::string& fileName);
  // Read fileName into object: a node receives the saved items, anything
  // else the values saved for its class. False when refused.
  bool LoadFromFile(const std::string& fileName, TPersistent* object);
  bool LoadFromFile(const std::string& fileName);
  // Writes object into the text (without storing it); the text of the last
  // save is GetText() until the next Clear.
  void SaveObjs(TPersistent* object);
  const std::string& GetText();
  // Empties the text, the tag stack, both reference lists and the messages.
  void Clear();

  // IQelExchange.
  std::string toStr(const TComponent* component) override;
  std::string toStr(const char* const* names, int32_t count, int32_t value) override;
  std::string toStr(const TQelMathVector& vector, const TQelMathVector& def) override;
  std::string toStr(const TQelVector& vector, const TQelMathVector& def) override;
  std::string toStr(int32_t value, int32_t def) override;
  std::string toStr(double value, double def) override;
  std::string toStr(float value, float def) override;
  std::string toStr(bool value, bool def) override;
  std::string toStr(const std::string& value, const std::string& def) override;
  std::string int2hex(int32_t n) override;
  int32_t hex2int(const std::string& s) override;
  void Strto(const std::string& text, TQelMathVector& vector) override;
  void Strto(const std::string& text, int32_t& value) override;
  void Strto(const std::string& text, uint8_t& value) override;
  void Strto(const std::string& text, double& value) override;
  void Strto(const std::string& text, float& value) override;
  void Strto(const std::string& text, bool& value) override;
  using IQelExchange::addtag;
  void addtag(const std::string& name, int32_t value, const char* const* names,
              int32_t def) override;
  void addtag(const std::string& name, const TComponent* component,
              const TComponent* def) override;
  void addtag(const std::string& name, const TQelMathVector& vector,
              const TQelMathVector& def) override;
  void addtag(const std::string& name, const TQelVector& vector,
              const TQelMathVector& def) override;
  void addtag(const std::string& name, int32_t value, int32_t def) override;
  void addtag(const std::string& name, double value, double def) override;
  void addtag(const std::string& name, float value, float def) override;
  void addtag(const std::string& name, bool value, bool def) override;
  void addtag(const std::string& name, const std::string& value, const std::string& def) override;
  void addtag(const std::string& name, uint32_t set, const char* const* names,
              int32_t count) override;
  void addvalue(const std::string& text) override;
  void StartTag(const std::string& name) override;
  void EndTag() override;
  void AddRef(const std::string& name, TPersistent* object) override;
  void AddAsRef(const std::string& name, TPersistent* object) override;
  void GetRef(const std::string& name, TPersistent* object) override;
  void GetAsRef(const std::string& name, TPersistent* object) override;
  using IQelExchange::GetRefObj;
  bool GetRefObj(const std::string& name, TPersistent*& target, const TQelClassCheck& cls) override;
  bool getvalue(const std::string& name, int32_t& value) override;
  bool getvalue(const std::string& name, uint8_t& value) override;
  bool getvalue(const std::string& name, double& value) override;
  bool getvalue(const std::string& name, float& value) override;
  bool getvalue(const std::string& name, bool& value) override;
  bool getvalue(const std::string& name, std::string& value) override;
  bool getvalue(const std::string& name, TQelMathVector& vector) override;
  bool getvalue(const std::string& name, uint32_t& set, const char* const* names,
                int32_t count) override;
  int32_t getenums(const std::string& name, const char* const* names, int32_t count) override;
  void ProgressStep() override;
  void Error(int32_t level, const std::string& text) override;
  std::string GetAFilename(const std::string& name) override;

  // The working state (private to the exchange's source).
  struct Impl;

private:
  void atXMLTag(TXMLTag* tag);
  std::unique_ptr<Impl> impl_;
  bool paramNewLine_ = false;
  bool noDefaultValues_ = false;
  int32_t decimals_ = 0;
  std::string fileDescription_;
  std::string fileName_;
  TQelExchangeState state_ = stReady;
};
