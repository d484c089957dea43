// Times "hot key to panel on screen" from the outside, as a user's keyboard would see it: presses the
// shortcut through XTest and measures until the first damage of the window, which comes only after its
// mapping. Then presses again and waits for the window to go. Prints one line per cycle: the milliseconds to the
// first damage.
//   measure_panel_client <window role> <cycles> [<keysym>...]   (default keys: Super_L Shift_L p)
#include <X11/keysym.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

xcb_connection_t* connection = nullptr;
xcb_window_t root = XCB_NONE;
uint8_t damageEventBase = 0;

xcb_atom_t atom(const char* name)
{
    xcb_intern_atom_reply_t* reply =
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return value;
}

std::vector<xcb_window_t> children(xcb_window_t window)
{
    std::vector<xcb_window_t> result;
    xcb_query_tree_reply_t* reply = xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr);
    if (!reply)
        return result;
    const xcb_window_t* list = xcb_query_tree_children(reply);
    result.assign(list, list + xcb_query_tree_children_length(reply));
    std::free(reply);
    return result;
}

xcb_window_t windowWithRole(const std::string& role)
{
    const xcb_atom_t roleAtom = atom("WM_WINDOW_ROLE");
    std::vector<xcb_window_t> candidates = children(root);
    for (xcb_window_t frame : children(root)) {
        const auto inner = children(frame);
        candidates.insert(candidates.end(), inner.begin(), inner.end());
    }
    for (xcb_window_t window : candidates) {
        xcb_get_property_reply_t* reply = xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, window, roleAtom, XCB_ATOM_STRING, 0, 64), nullptr);
        const bool match = reply && std::string(static_cast<const char*>(xcb_get_property_value(reply)),
                                                size_t(xcb_get_property_value_length(reply))) == role;
        std::free(reply);
        if (match)
            return window;
    }
    return XCB_NONE;
}

// Waits for an event that `accept` takes; false after `seconds` without one.
template <typename Accept> bool waitFor(Accept accept, double seconds)
{
    const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < deadline) {
        xcb_generic_event_t* event = xcb_poll_for_event(connection);
        if (!event) {
            if (xcb_connection_has_error(connection))
                return false;
            // The X socket wakes this loop; a short poll keeps the timing fine-grained.
            struct timespec pause {0, 50000};
            nanosleep(&pause, nullptr);
            continue;
        }
        const bool taken = accept(event);
        std::free(event);
        if (taken)
            return true;
    }
    return false;
}

// The window manager's own unmapping and remapping (reparenting) make map notifications unreliable
// as the end of a close: the window's state says it.
bool waitUntilUnmapped(xcb_window_t window, double seconds)
{
    const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < deadline) {
        xcb_get_window_attributes_reply_t* reply =
            xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr);
        const bool unmapped = reply && reply->map_state == XCB_MAP_STATE_UNMAPPED;
        std::free(reply);
        if (unmapped)
            return true;
        struct timespec pause {0, 1000000};
        nanosleep(&pause, nullptr);
    }
    return false;
}

void press(const std::vector<xcb_keycode_t>& keys)
{
    for (xcb_keycode_t key : keys)
        xcb_test_fake_input(connection, XCB_KEY_PRESS, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
        xcb_test_fake_input(connection, XCB_KEY_RELEASE, *key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(connection);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <window role> <cycles> [<keysym name>...]\n", argv[0]);
        return 2;
    }
    const std::string role = argv[1];
    const int cycles = std::atoi(argv[2]);
    connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        std::fprintf(stderr, "no X display\n");
        return 1;
    }
    root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;

    const xcb_query_extension_reply_t* damage = xcb_get_extension_data(connection, &xcb_damage_id);
    if (!damage || !damage->present) {
        std::fprintf(stderr, "the X server has no DAMAGE extension\n");
        return 1;
    }
    damageEventBase = damage->first_event;
    std::free(xcb_damage_query_version_reply(connection, xcb_damage_query_version(connection, 1, 1), nullptr));

    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(connection);
    std::vector<xcb_keysym_t> keysyms{XK_Super_L, XK_Shift_L, XK_p};
    if (argc > 3) {
        keysyms.clear();
        for (int index = 3; index < argc; ++index)
            keysyms.push_back(xcb_keysym_t(std::strtoul(argv[index], nullptr, 0)));
    }
    std::vector<xcb_keycode_t> keys;
    for (xcb_keysym_t keysym : keysyms) {
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, keysym);
        if (!codes || *codes == XCB_NO_SYMBOL) {
            std::fprintf(stderr, "no key for keysym 0x%x\n", keysym);
            return 1;
        }
        keys.push_back(codes[0]);
        std::free(codes);
    }
    xcb_key_symbols_free(symbols);

    xcb_window_t window = XCB_NONE;
    const auto found = Clock::now();
    while ((window = windowWithRole(role)) == XCB_NONE) {
        if (Clock::now() - found > std::chrono::seconds(30)) {
            std::fprintf(stderr, "no window with the role %s\n", role.c_str());
            return 1;
        }
        struct timespec pause {0, 20000000};
        nanosleep(&pause, nullptr);
    }
    const xcb_damage_damage_t damageObject = xcb_generate_id(connection);
    xcb_damage_create(connection, damageObject, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    xcb_flush(connection);

    for (int cycle = 0; cycle < cycles; ++cycle) {
        // Damage from before the press doesn't count.
        xcb_damage_subtract(connection, damageObject, XCB_NONE, XCB_NONE);
        xcb_flush(connection);
        while (xcb_generic_event_t* stale = xcb_poll_for_event(connection))
            std::free(stale);

        // A press in the same millisecond as the last release looks like the keyboard's auto-repeat,
        // which hot key handlers ignore; no hand is that fast.
        struct timespec gap {0, 5000000};
        nanosleep(&gap, nullptr);
        const auto start = Clock::now();
        press(keys);
        // A window draws nothing while unmapped: its first damage is the first frame after the map.
        const bool drawn = waitFor(
            [](xcb_generic_event_t* event) {
                return (event->response_type & 0x7F) == int(damageEventBase) + XCB_DAMAGE_NOTIFY;
            },
            5.0);
        const double milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        if (!drawn) {
            std::fprintf(stderr, "cycle %d: the window was not drawn within 5 s\n", cycle);
            return 1;
        }
        std::printf("%.3f\n", milliseconds);
        std::fflush(stdout);

        nanosleep(&gap, nullptr);
        press(keys);
        if (!waitUntilUnmapped(window, 5.0)) {
            std::fprintf(stderr, "cycle %d: the window did not close within 5 s\n", cycle);
            return 1;
        }
    }
    xcb_disconnect(connection);
    return 0;
}
