// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what an application sees of the shared library; everything else is built hidden. Types
/// that appear as template arguments of an exported class carry it too, else the class would be
/// hidden.
#define ORLIQ_API __attribute__((visibility("default")))

/// Marks a part of an exported class that stays inside the library.
#define ORLIQ_LOCAL __attribute__((visibility("hidden")))
