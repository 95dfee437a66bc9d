// cfl_filters.h - what the core does with the filter registry.
#pragma once

/// Forgets all filters but the built-in one, so that a game's own may go. Called when the core is torn down.
void kxcCFLFiltersForget();
