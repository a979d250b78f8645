#pragma once

// The verb families: each adds its verbs to the command line and runs them from there.

#include <CLI/App.hpp>

namespace kvtcommand {

void AddXmlVerbs(CLI::App& command);
void AddXmlConvert(CLI::App& xml);
void AddCfgVerbs(CLI::App& command);
void AddCfgMerge(CLI::App& cfg);
void AddIniVerbs(CLI::App& command);
void AddRegVerbs(CLI::App& command);
void AddHostVerbs(CLI::App& command);
void AddArxVerbs(CLI::App& command);
void AddSupportPathVerbs(CLI::App& command);

/// A verb with its examples, which `--help` shows.
CLI::App* AddVerb(CLI::App& family, const char* name, const char* description, const char* examples);

}  // namespace kvtcommand
