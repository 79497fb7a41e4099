// A compositor of one protocol for Kelp's tests: it offers ext_foreign_toplevel_list_v1 and
// nothing else (no compositor in Debian 12 offers it yet), and takes its toplevels from standard
// input, one command a line:
//   add ID APP_ID [TITLE...]   a toplevel appears: its identifier, title and app id, then done
//   title ID TITLE...          its title changes
//   close ID                   it closes
//   finish                     the list is finished: no more toplevels
// An app id of "-" sends none. It prints "ready NAME" once its socket (NAME, under
// $XDG_RUNTIME_DIR) takes clients, then "ok" or "error WHY" after each command.
#include "ext-foreign-toplevel-list-v1-server-protocol.h"
#include <wayland-server.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Toplevel
{
    std::string appId;
    std::string title;
    std::vector<wl_resource *> handles;
};

struct Server
{
    wl_display *display = nullptr;
    std::vector<wl_resource *> lists;
    std::map<int, Toplevel> toplevels;
    bool finished = false;
    std::string input;
};

Server server;

void forgetHandle(wl_resource *handle)
{
    for (auto &[id, toplevel] : server.toplevels)
        std::erase(toplevel.handles, handle);
}

void handleDestroy(wl_client *, wl_resource *resource)
{
    wl_resource_destroy(resource);
}

const struct ext_foreign_toplevel_handle_v1_interface handleImplementation = {handleDestroy};

void sendState(wl_resource *handle, const Toplevel &toplevel)
{
    ext_foreign_toplevel_handle_v1_send_title(handle, toplevel.title.c_str());
    if (toplevel.appId != "-")
        ext_foreign_toplevel_handle_v1_send_app_id(handle, toplevel.appId.c_str());
    ext_foreign_toplevel_handle_v1_send_done(handle);
}

void announce(wl_resource *list, int id, Toplevel &toplevel)
{
    wl_resource *handle = wl_resource_create(wl_resource_get_client(list),
                                             &ext_foreign_toplevel_handle_v1_interface, 1, 0);
    wl_resource_set_implementation(handle, &handleImplementation, nullptr, forgetHandle);
    ext_foreign_toplevel_list_v1_send_toplevel(list, handle);
    ext_foreign_toplevel_handle_v1_send_identifier(handle,
                                                   ("toplevel-" + std::to_string(id)).c_str());
    sendState(handle, toplevel);
    toplevel.handles.push_back(handle);
}

void listStop(wl_client *, wl_resource *resource)
{
    ext_foreign_toplevel_list_v1_send_finished(resource);
}

void listDestroy(wl_client *, wl_resource *resource)
{
    wl_resource_destroy(resource);
}

const struct ext_foreign_toplevel_list_v1_interface listImplementation = {listStop, listDestroy};

void forgetList(wl_resource *list)
{
    std::erase(server.lists, list);
}

void bindList(wl_client *client, void *, uint32_t version, uint32_t id)
{
    wl_resource *list =
        wl_resource_create(client, &ext_foreign_toplevel_list_v1_interface, int(version), id);
    wl_resource_set_implementation(list, &listImplementation, nullptr, forgetList);
    server.lists.push_back(list);
    if (server.finished) {
        ext_foreign_toplevel_list_v1_send_finished(list);
        return;
    }
    for (auto &[tid, toplevel] : server.toplevels)
        announce(list, tid, toplevel);
}

std::string rest(std::istringstream &in)
{
    std::string text;
    std::getline(in, text);
    const size_t start = text.find_first_not_of(' ');
    return start == std::string::npos ? std::string() : text.substr(start);
}

std::string run(const std::string &line)
{
    std::istringstream in(line);
    std::string command;
    in >> command;
    int id = 0;
    if (command == "add") {
        Toplevel toplevel;
        if (!(in >> id >> toplevel.appId)) return "add needs an id and an app id";
        toplevel.title = rest(in);
        if (server.toplevels.count(id)) return "that id is taken";
        Toplevel &added = server.toplevels[id] = toplevel;
        if (!server.finished)
            for (wl_resource *list : server.lists)
                announce(list, id, added);
    } else if (command == "title") {
        if (!(in >> id) || !server.toplevels.count(id)) return "no such toplevel";
        Toplevel &toplevel = server.toplevels[id];
        toplevel.title = rest(in);
        for (wl_resource *handle : toplevel.handles)
            sendState(handle, toplevel);
    } else if (command == "close") {
        if (!(in >> id) || !server.toplevels.count(id)) return "no such toplevel";
        for (wl_resource *handle : server.toplevels[id].handles) {
            ext_foreign_toplevel_handle_v1_send_closed(handle);
            // The client destroys the handle; it no longer stands for the toplevel.
            wl_resource_set_destructor(handle, nullptr);
        }
        server.toplevels.erase(id);
    } else if (command == "finish") {
        server.finished = true;
        for (wl_resource *list : server.lists)
            ext_foreign_toplevel_list_v1_send_finished(list);
    } else {
        return "unknown command";
    }
    return {};
}

int readInput(int fd, uint32_t, void *)
{
    char buffer[4096];
    const ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n <= 0) {
        wl_display_terminate(server.display);
        return 0;
    }
    server.input.append(buffer, size_t(n));
    size_t end;
    while ((end = server.input.find('\n')) != std::string::npos) {
        const std::string line = server.input.substr(0, end);
        server.input.erase(0, end + 1);
        const std::string error = run(line);
        wl_display_flush_clients(server.display);
        if (error.empty())
            std::printf("ok\n");
        else
            std::printf("error %s\n", error.c_str());
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

int main()
{
    server.display = wl_display_create();
    const char *name = server.display ? wl_display_add_socket_auto(server.display) : nullptr;
    if (!name) {
        std::fprintf(stderr, "no socket (is XDG_RUNTIME_DIR set?)\n");
        return 1;
    }
    wl_global_create(server.display, &ext_foreign_toplevel_list_v1_interface, 1, nullptr, bindList);
    wl_event_loop_add_fd(wl_display_get_event_loop(server.display), STDIN_FILENO, WL_EVENT_READABLE,
                         readInput, nullptr);
    std::printf("ready %s\n", name);
    std::fflush(stdout);
    wl_display_run(server.display);
    wl_display_destroy_clients(server.display);
    wl_display_destroy(server.display);
    return 0;
}
