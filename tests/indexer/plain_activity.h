#pragma once

#include "gist_buffer.h"
#include "indexer/store_list.h"

// The rule as plain as it can be written. Works with unsigned 64-bit numbers throughout.
ActivityAnswer PlainActivity(const StoreList::Stores& files, const TZEL3ActivityRequest& request);
