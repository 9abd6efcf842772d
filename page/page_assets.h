#pragma once

// The parts that all reports share.
namespace page_assets {

// HTML with places to fill in: {{title}}.
extern const char kPage[];
// uPlot's and our own.
extern const char kStyle[];
extern const char kScript[];

}  // namespace page_assets
