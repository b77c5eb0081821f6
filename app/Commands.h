#pragma once

#include <CLI/CLI.hpp>

// Each command is declared once, which adds it to the program and gives its
// parser, and run after parsing, which returns the exit status.  Running
// throws UsageError, Failure and Interrupted.

CLI::App* declareInfo(CLI::App& program);
int runInfo(const CLI::App& command);

CLI::App* declareConvert(CLI::App& program);
int runConvert(const CLI::App& command);

CLI::App* declareMix(CLI::App& program);
int runMix(const CLI::App& command);

CLI::App* declarePlay(CLI::App& program);
int runPlay(const CLI::App& command);

CLI::App* declarePlot(CLI::App& program);
int runPlot(const CLI::App& command);

CLI::App* declareSave(CLI::App& program);
int runSave(const CLI::App& command);

CLI::App* declareDemo(CLI::App& program);
int runDemo(const CLI::App& command);

CLI::App* declareCompletion(CLI::App& program);
int runCompletion(const CLI::App& command);

CLI::App* declareManual(CLI::App& program);
int runManual(const CLI::App& command);
