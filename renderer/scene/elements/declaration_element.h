// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/declarations/parameter.h"
#include "scene/elements/element.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orca::scene {

/// What a shader says that it needs from the options.
struct Requirements {
    std::optional<bool> trace, scanline;
    std::optional<char> shadow; ///< as miOptions::shadow
    std::vector<std::string> others;
};

struct PhenomenonBody;

/// `declare shader`, `declare phenomenon` or `declare data`.
struct DeclarationElement final : Element {
    enum class Kind { Shader, Phenomenon, Data };
    explicit DeclarationElement(Kind declarationKind);
    ~DeclarationElement() override;
    void* record() override { return this; }
    [[nodiscard]] int recordSize() const override { return sizeof(DeclarationElement); }

    Kind kind;
    std::string symbol; ///< name of the C function: the name without its namespace
    std::vector<Parameter> parameters;
    std::string parameterText; ///< as `textOf` gives it
    std::string resultText;    ///< the same of a struct result's members
    int fixedSize = 0;         ///< bytes of the block without array tails
    Parameter result;          ///< a colour unless declared otherwise; a struct's members have offsets
    int version = 0;
    std::vector<std::string> apply;
    Requirements requirements;
    std::unique_ptr<PhenomenonBody> body; ///< of a phenomenon
};

} // namespace orca::scene
