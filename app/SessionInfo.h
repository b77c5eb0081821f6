#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "app/MixContents.h"

/** Prints all tracks of a session with their settings, found or missing. */
void printSession(const std::string& name, const MixContents& contents);

/** The same as a JSON object. */
nlohmann::ordered_json jsonOfSession(const std::string& name, const MixContents& contents);
