#pragma once

#include <string>

#include <CLI/CLI.hpp>

// Completion of the program's commands, options, values and files in a shell:
// scripts that are made from the parsers.

std::string bashCompletionOf(const CLI::App& program);
std::string zshCompletionOf(const CLI::App& program);
