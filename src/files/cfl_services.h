// cfl_services.h - what the core does with the archive filters and the archives that are being written.
#pragma once

/// Registers the filter that changes nothing, which every archive may name. False when memory runs out.
bool kxcCFLRegisterNone();
/// Deletes all registered filters; part of the core's teardown.
void kxcCFLFiltersFree();
/// Deletes the makers that never finished and closes their files; part of the core's teardown.
void kxcCFLMakersFree();
