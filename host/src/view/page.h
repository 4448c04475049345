// SPDX-License-Identifier: MIT
#pragma once

namespace vireo::host {

/// The live page: one HTML document that loads nothing from elsewhere. Made from page.html while building.
extern const char* const livePage;

}  // namespace vireo::host
