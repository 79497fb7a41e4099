#pragma once
// The desktop's own settings through GSettings, read only where they exist: GLib aborts on a
// schema that is not installed, and GNOME's schemas are missing on other desktops.
#include "platform/gio/GLibPtr.h"

namespace kelp {

// The settings of the schema when it is installed and has the key; null otherwise.
inline GLibPtr<GSettings> installedSettings(const char *schemaId, const char *key)
{
    GSettingsSchemaSource *source = g_settings_schema_source_get_default();
    if (!source) return nullptr;
    const GLibPtr<GSettingsSchema> schema(g_settings_schema_source_lookup(source, schemaId, TRUE));
    if (!schema || !g_settings_schema_has_key(schema.get(), key)) return nullptr;
    return GLibPtr<GSettings>(g_settings_new_full(schema.get(), nullptr, nullptr));
}

} // namespace kelp
