// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what a host may use. Everything else stays inside its library.
#define BRIVANE_EXPORT __attribute__((visibility("default")))
