// For builds without a library for editing lines.

#include "output/line_editor.h"

struct LineEditor::Parts {};

bool LineEditor::IsAvailable() {
  return false;
}

LineEditor::LineEditor(const std::string&, const Words&, Complete) {}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::Next() {
  return std::nullopt;
}
