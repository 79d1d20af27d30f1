#pragma once
// The package's manifest ("PergonixYedek.json", written by the backup) against the table
// files a restore reads: a file whose size, SHA-256 or row count differs from its entry (a
// package rewritten after its backup), or one the manifest does not list, gives a warning
// that the run lists at its end. A manifest that cannot be read or parsed is an error: the
// package is not what its backup wrote.

#include <string>

#include "core/result.h"
#include "restore/ortam.h"

namespace px::restore {

// Reads the manifest of the package at `paket_klasoru` and, when it lists files, sets
// `ortam.dosya_denetle` to compare each table file with its entry. A package without a
// manifest (an older backup) is not compared.
Status PaketManifestiniOku(Ortam& ortam, const std::string& paket_klasoru);

}  // namespace px::restore
