#pragma once

// The verb families: each adds its verbs to the command line and runs them from there.

#include <CLI/App.hpp>
#include <memory>

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
void AddFileVerbs(CLI::App& command);
void AddLogVerbs(CLI::App& command);
void AddLinesVerbs(CLI::App& command);
void AddFileLinkVerbs(CLI::App& file);
void AddScanVerb(CLI::App& command);

/// A verb with its examples, which `--help` shows.
CLI::App* AddVerb(CLI::App& family, const char* name, const char* description, const char* examples);

/// A verb, and the options that its command line fills; they live as long as the command line.
template <class Options>
struct AddedVerb {
    CLI::App* verb;
    std::shared_ptr<Options> options;
};

/// A verb that runs with its options.
/// @param note What is to be known of the command line besides, or null; called before `run`.
template <class Options>
AddedVerb<Options> AddVerb(CLI::App& family, const char* name, const char* description, const char* examples,
                           void (*run)(const Options&), void (*note)(const CLI::App&, Options&) = nullptr) {
    CLI::App* verb = AddVerb(family, name, description, examples);
    auto options = std::make_shared<Options>();
    verb->callback([verb, options, run, note] {
        if (note != nullptr) {
            note(*verb, *options);
        }
        run(*options);
    });
    return {verb, options};
}

/// Whether the command line gave an option; false for one that the verb does not have.
inline bool IsGiven(const CLI::App& verb, const char* option) {
    return verb.get_option_no_throw(option) != nullptr && verb.count(option) != 0;
}

}  // namespace kvtcommand
