#pragma once

// The recovery log as the source of a run: put records and the parts that belong to them become messages again.

#include "engine/source.h"

extern const MessageSource kLogSource;
