#pragma once

#include <nlohmann/json.hpp>

#include <string>

/// What is wrong with a value, judged by a schema of an OpenAPI document; empty when nothing is. Knows the words that
/// the panel's document uses, and finds fault with any other: nothing of the schema is passed over.
std::string faultOf(const nlohmann::json& value, const nlohmann::json& schema, const nlohmann::json& document);
