// SPDX-License-Identifier: MIT
// What nearly every source includes and is slow to read. No Qt Test: its macros depend on the program.
#pragma once
#include <QtCore/QtCore>
#include <QtWidgets/QtWidgets>
#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <variant>
#include <vector>
