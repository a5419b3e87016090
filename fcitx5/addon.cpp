// The entry point Fcitx5 looks up in the shared library.
#include "engine.h"

FCITX_ADDON_FACTORY(orvane::fcitx5::OrvaneEngineFactory);
