#pragma once
// GLibPtr<T>: the owner of one piece of GLib memory, freed with the function GLib names for its
// type when the owner goes. A std::unique_ptr underneath, so it moves, resets and releases like
// one.
//
//   GLibPtr<GKeyFile> file(g_key_file_new());
//   GLibPtr<gchar> name(g_key_file_get_string(file.get(), "Desktop Entry", "Name", nullptr));
//   GLibPtr<gchar *> words(g_strsplit(line, " ", -1));         // a NULL-terminated string array
//   GLibPtr<GAppInfo> app(g_app_info_get_default_for_type(...)); // a GObject: unreferenced
//   GLibPtr<GObjectList> apps(g_app_info_get_all());             // a GList of GObjects
//   GLibPtr<GError> error;
//   if (!g_key_file_load_from_file(..., outPtr(error))) log(errorMessage(error));
//
// Only the types listed below have an owner; a GLib type without one does not compile, rather
// than being freed the wrong way.
#include <QString>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>

namespace kelp {

// How GLib frees a T. Each specialisation names the one function GLib documents for the type.
template <typename T> struct GLibFree;

template <> struct GLibFree<gchar>
{
    void operator()(gchar *p) const { g_free(p); }
};
template <> struct GLibFree<gchar *>
{
    void operator()(gchar **p) const { g_strfreev(p); }
};
template <> struct GLibFree<GKeyFile>
{
    void operator()(GKeyFile *p) const { g_key_file_free(p); }
};
template <> struct GLibFree<GError>
{
    void operator()(GError *p) const { g_error_free(p); }
};
template <> struct GLibFree<GVariant>
{
    void operator()(GVariant *p) const { g_variant_unref(p); }
};
template <> struct GLibFree<GSettingsSchema>
{
    void operator()(GSettingsSchema *p) const { g_settings_schema_unref(p); }
};

// GObjects and the interfaces they implement: one reference, dropped.
struct GObjectUnref
{
    void operator()(gpointer p) const { g_object_unref(p); }
};
template <> struct GLibFree<GObject> : GObjectUnref
{
};
template <> struct GLibFree<GFile> : GObjectUnref
{
};
template <> struct GLibFree<GFileInfo> : GObjectUnref
{
};
template <> struct GLibFree<GAppInfo> : GObjectUnref
{
};
template <> struct GLibFree<GDesktopAppInfo> : GObjectUnref
{
};
template <> struct GLibFree<GDBusConnection> : GObjectUnref
{
};
template <> struct GLibFree<GAppLaunchContext> : GObjectUnref
{
};
template <> struct GLibFree<GSettings> : GObjectUnref
{
};

// A GList and what its elements are, so that the right function frees them with the list.
struct GObjectList;
struct GStringList;
template <> struct GLibFree<GObjectList>
{
    using pointer = GList *;
    void operator()(GList *p) const { g_list_free_full(p, g_object_unref); }
};
template <> struct GLibFree<GStringList>
{
    using pointer = GList *;
    void operator()(GList *p) const { g_list_free_full(p, g_free); }
};

template <typename T> using GLibPtr = std::unique_ptr<T, GLibFree<T>>;

// Lets a GLib function that hands its result back through a T** (a GError**, above all) fill an
// owner: the owner takes the result when the call's full expression ends.
template <typename T> class GLibOutPtr
{
public:
    explicit GLibOutPtr(GLibPtr<T> &owner) : _owner(owner) {}
    GLibOutPtr(const GLibOutPtr &) = delete;
    GLibOutPtr &operator=(const GLibOutPtr &) = delete;
    ~GLibOutPtr() { _owner.reset(_raw); }
    operator T **() { return &_raw; }

private:
    GLibPtr<T> &_owner;
    T *_raw = nullptr;
};

template <typename T> GLibOutPtr<T> outPtr(GLibPtr<T> &owner)
{
    return GLibOutPtr<T>(owner);
}

// The error's message, or an empty string when there is no error.
inline QString errorMessage(const GLibPtr<GError> &error)
{
    return error ? QString::fromUtf8(error->message) : QString();
}

// A string GLib hands over, as a QString (empty for NULL); the GLib string is freed.
inline QString takeString(gchar *value)
{
    const GLibPtr<gchar> owned(value);
    return owned ? QString::fromUtf8(owned.get()) : QString();
}

} // namespace kelp
