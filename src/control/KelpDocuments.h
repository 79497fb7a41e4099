#pragma once
// Kelp's own documents ("Welcome to Kelp", "Kelp User Guide"): PDF files next to the kelp program
// in a build folder, or in Kelp's data folder once installed (share/kelp beside bin/, then each
// folder of $XDG_DATA_DIRS).
#include <QString>

namespace kelp {

inline constexpr char kWelcomeDocumentName[] = "Welcome to Kelp";
inline constexpr char kUserGuideDocumentName[] = "Kelp User Guide";
// Kelp's home page, opened from the menu and shown in the About window.
inline constexpr char kHomePageUrl[] = "https://kelp-launcher.org";

// The path of the document `name` (without ".pdf"), or an empty string when it is nowhere.
QString documentPath(const QString &name);

} // namespace kelp
