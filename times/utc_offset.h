#pragma once

#include <QString>
#include <optional>
#include <string>

// How far clocks are ahead of UTC, in seconds, as people write it.

// From +02:00, +0200, +02, and the same with seconds; less than a day. Nothing for other texts.
std::optional<int> OffsetFromText(const QString& text);

// +02:00; with seconds only where there are any.
std::string OffsetText(int seconds);
