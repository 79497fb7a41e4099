#pragma once
// `kelp --print-catalogue [--rescan] [--icons]`: the catalogue as JSON on standard output (see
// catalogue/CatalogueReport.h), with the running applications when there is a display.

namespace kelp {

// rescan: walk the scan folders even when the cached list exists. icons: load every icon first,
// so that the colour sort values are real. Returns the exit status.
int runPrintCatalogue(bool rescan, bool icons);

} // namespace kelp
