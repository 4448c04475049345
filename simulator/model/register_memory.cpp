// SPDX-License-Identifier: MIT
#include "simulator/model/register_memory.h"

#include <algorithm>
#include <utility>

namespace vireo::simulator {
namespace {

// Reads of the text are done in whole words, and blocks of them may reach beyond its end.
constexpr std::uint64_t slack = 1024;

}  // namespace

void RegisterMemory::MapText(std::uint64_t address, std::string text) {
  textAddress_ = address;
  text_ = std::move(text);
}

bool RegisterMemory::touchesText(std::uint64_t address, std::size_t size) const {
  return !text_.empty() && address < textAddress_ + text_.size() + slack && address + size > textAddress_;
}

bool RegisterMemory::exists(std::uint64_t address, std::size_t size) const {
  if (address + size < address) return false;
  if (address + size <= end_) return true;
  return !text_.empty() && address >= textAddress_ && address + size <= textAddress_ + text_.size() + slack;
}

Status RegisterMemory::Read(std::uint64_t address, std::span<std::uint8_t> into) const {
  if (!exists(address, into.size())) return Status::InvalidAddress;
  for (std::size_t done = 0; done < into.size();) {
    const std::uint64_t at = address + done;
    const std::size_t inPage = at % pageSize;
    const std::size_t count = std::min(into.size() - done, pageSize - inPage);
    const auto page = pages_.find(at / pageSize);
    if (page == pages_.end()) {
      std::fill_n(into.begin() + static_cast<std::ptrdiff_t>(done), count, std::uint8_t{0});
    } else {
      std::copy_n(page->second.begin() + inPage, count, into.begin() + static_cast<std::ptrdiff_t>(done));
    }
    done += count;
  }
  if (!touchesText(address, into.size())) return Status::Success;
  for (std::size_t i = 0; i < into.size(); ++i) {
    const std::uint64_t at = address + i;
    if (at >= textAddress_ && at - textAddress_ < text_.size())
      into[i] = static_cast<std::uint8_t>(text_[at - textAddress_]);
  }
  return Status::Success;
}

bool RegisterMemory::hasRoomFor(std::uint64_t address, std::size_t size) const {
  std::size_t missing = 0;
  for (std::uint64_t page = address / pageSize; page <= (address + size - 1) / pageSize; ++page)
    missing += pages_.contains(page) ? 0 : 1;
  return pages_.size() + missing <= maxPages;
}

Status RegisterMemory::Write(std::uint64_t address, ByteView bytes) {
  if (bytes.empty()) return Status::Success;
  if (!exists(address, bytes.size())) return Status::InvalidAddress;
  if (touchesText(address, bytes.size())) return Status::WriteProtect;
  if (!hasRoomFor(address, bytes.size())) return Status::InvalidAddress;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    pages_[(address + i) / pageSize][(address + i) % pageSize] = bytes[i];
  return Status::Success;
}

std::uint32_t RegisterMemory::Get(std::uint64_t address) const {
  std::array<std::uint8_t, 4> bytes{};
  Read(address, bytes);
  return ReadNumber<std::endian::big, std::uint32_t>(bytes, 0);
}

void RegisterMemory::Set(std::uint64_t address, std::uint32_t value) {
  std::array<std::uint8_t, 4> bytes{};
  WriteNumber<std::endian::big>(bytes, 0, value);
  Write(address, bytes);
}

void RegisterMemory::SetText(std::uint64_t address, std::size_t size, const std::string& text) {
  Bytes field(size, 0);
  std::copy_n(text.begin(), std::min(text.size(), size - 1), field.begin());
  Write(address, field);
}

}  // namespace vireo::simulator
