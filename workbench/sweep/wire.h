// Batches and what comes of them as bytes, between processes of the same program.
#pragma once

#include <string>

#include "sweep/batch.h"

namespace workbench {

std::string packed(const Batch& batch);
std::string packed(const BatchResult& result);
Batch batchFrom(const std::string& bytes);
BatchResult resultFrom(const std::string& bytes);

// Texts one after the other.
std::string packed(const std::vector<std::string>& texts);
std::vector<std::string> textsFrom(const std::string& bytes);

}  // namespace workbench
