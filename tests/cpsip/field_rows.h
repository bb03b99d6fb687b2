// The fields of a message as the tests know them: an independent list of what each field id reaches, and how.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cpsip/cpsip_msg.h"

namespace hark::test {

enum class FieldMode { kDirect, kParameter, kInstance, kInstanceParameter };

struct FieldRow {
  const char* name;
  std::uint32_t id;
  FieldMode mode;
  std::uint32_t record;            // the id of the record itself; parameters hang on it
  cpsip_field cpsip_msg::*field;   // of direct fields and their parameters
  std::uint16_t cpsip_msg::*head;  // of instances and their parameters
  std::uint8_t cpsip_msg::*count;  // of the instances

  [[nodiscard]] bool HasInstances() const {
    return mode == FieldMode::kInstance || mode == FieldMode::kInstanceParameter;
  }
  [[nodiscard]] bool IsParameter() const {
    return mode == FieldMode::kParameter || mode == FieldMode::kInstanceParameter;
  }
};

std::span<const FieldRow> FieldRows();

// Ids below 100 that reach no field, and some far away.
std::vector<std::uint32_t> IdsWithoutField();

}  // namespace hark::test
