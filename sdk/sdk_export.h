#pragma once

// Marks what the host library offers to bricks: everything else of a module stays hidden.
#define BRICK_SDK_API __attribute__((visibility("default")))
