// What the page asks for, and the answers.
#pragma once

#include "tools/guarda/porta.h"
#include "tools/guarda/tavolo.h"

#include <string>
#include <vector>

namespace varno::provino {

/// Serves the page on the light table until it says that it has seen enough: `imp` is what it
/// begins with, `dichiarati` the parameters as JSON, `comando` the words of a command that develops
/// the source, before its output.
void guarda(Tavolo& t, Porta& porta, const Impostazioni& imp, const Json& dichiarati,
            const std::vector<std::string>& comando);

}  // namespace varno::provino
