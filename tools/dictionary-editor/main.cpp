// Orvane IME Dictionary: the user dictionary in the user's editor. Started
// by the input method's menu (detached, or in the terminal of orvane-term);
// failures go to standard error and to the system log.
#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/log.h"
#include "dictionary/kana_dictionary.h"
#include "dictionary_editor.h"
#include "platform/bundle.h"

int main() {
  using namespace orvane;
  auto fail = [](const std::string& message) {
    std::fprintf(stderr, "Orvane IME Dictionary: %s\n", message.c_str());
    const std::string identity(Log::subsystem);
    ::openlog(identity.c_str(), LOG_PID, LOG_USER);
    ::syslog(LOG_ERR, "dictionary editor: %s", message.c_str());
    return 1;
  };
  const platform::Bundle bundle(dictionary_editor::mainBundle(platform::Bundle::main().bundleURL()));
  const auto file = KanaDictionary::directoryURL() / KanaDictionary::userFileName;
  if (auto error = dictionary_editor::ensureUserDictionary(file, bundle.pathForResource("dictionary", "txt")))
    return fail("cannot create the user dictionary: " + *error);
  auto command = dictionary_editor::editorCommand(file, [](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    if (!value) return std::nullopt;
    return std::string(value);
  });
  if (auto error = dictionary_editor::runEditor(command)) return fail("cannot open " + file.string() + ": " + *error);
  return 0;
}
