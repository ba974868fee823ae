#pragma once

#include <cstddef>
#include <cstdint>

/// The entry point every fuzz target defines: libFuzzer or replay_main.cpp
/// calls it once per input. Returns 0; never throws.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
