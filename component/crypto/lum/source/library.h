#pragma once

namespace crypto::lum {

/// Whether LumInitializeLibrary holds at least one reference.
bool IsLibraryInitialized() noexcept;

/// Adopts the reference of a successful LumInitializeLibrary and releases
/// it when destroyed.
class LibraryReference final {
public:
    LibraryReference() = default;
    ~LibraryReference();
    LibraryReference(const LibraryReference&) = delete;
    LibraryReference& operator=(const LibraryReference&) = delete;
};

}  // namespace crypto::lum
