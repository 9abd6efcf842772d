#pragma once

// Marks what the host library offers to applications.
#define BRICK_HOST_API __attribute__((visibility("default")))
