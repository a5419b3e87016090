// The dictionary editor of the bundle ("Orvane IME Dictionary.app"): opens
// the user dictionary in the user's editor, creating it from the bundle's
// default when it is missing.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orvane::dictionary_editor {

// The input method's bundle for a helper bundle inside its Contents/Helpers,
// or the given bundle itself when it is not one.
std::filesystem::path mainBundle(const std::filesystem::path& bundle);

// Creates the user dictionary from the default when there is none. An
// existing file is never written, not even truncated, whatever happens in
// between. A description of the failure, if any.
std::optional<std::string> ensureUserDictionary(const std::filesystem::path& userDictionary,
                                                const std::optional<std::filesystem::path>& defaultDictionary);

// The user's editor on the file: $VISUAL, else $EDITOR (each through the
// shell, so that "code --wait" works); nothing when neither is set.
using Environment = std::function<std::optional<std::string>(const char* name)>;
std::optional<std::vector<std::string>> userEditorCommand(const std::filesystem::path& file,
                                                          const Environment& environment);
// The user's editor, else xdg-open.
std::vector<std::string> editorCommand(const std::filesystem::path& file, const Environment& environment);

// Runs the command with our standard streams and waits; a description of
// the failure when it could not start or ended in failure.
std::optional<std::string> runEditor(const std::vector<std::string>& command);

}  // namespace orvane::dictionary_editor
