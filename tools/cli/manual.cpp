// Writes the manual page; see manual.h.
//
// Room: tools.
#include "tools/cli/manual.h"

#include <fmt/format.h>

namespace mesh_fib6::tools::cli {
namespace {

// What scdoc takes for itself.
std::string escaped(const std::string &text) {
  std::string result;
  for (const char character : text) {
    if (std::string_view("\\*_#[]<>|~`").find(character) != std::string_view::npos)
      result += '\\';
    result += character;
  }
  return result;
}

std::string synopsis_of(const known_command &command) {
  std::string text = "*mesh-fib6 " + escaped(command.name) + "* [_option_...]";
  for (const known_command::argument &argument : command.arguments)
    text += argument.is_required ? " _" + argument.name + "_" : " [_" + argument.name + "_]";
  return text;
}

std::string entry_of(const std::string &head, const std::string &help) {
  return head + "\n\t" + escaped(help) + "\n\n";
}

std::string section_of(const known_command &command) {
  std::string text = fmt::format("## {}\n\n{}\n\n", command.name, escaped(command.help));
  for (const known_command::argument &argument : command.arguments)
    text += entry_of("_" + argument.name + "_", argument.help);
  for (const known_command::option &option : command.options)
    text += entry_of("*" + escaped(option.name) + "*" +
                         (option.value.empty() ? "" : " _" + option.value + "_"),
                     option.help);
  return text;
}

constexpr const char *rest = R"scdoc(# FORMS OF INPUT

Bytes are binary or text: hexadecimal digits, or a dump as *xxd*(1), *hexdump -C*, *tcpdump -x* or
*mesh-fib6 explain* write one. Records are JSON, a member for each of the record's; what is left out is
zero or empty. A frame is a u32 identifier, a u32 length and the message, numbers in little-endian order.

# EXIT STATUS

*0*
	Good.

*1*
	A message is refused; of *diff*: the two differ; of *host*: the directory or the server cannot be used.

*2*
	Wrong usage.

*3*
	What was read is not what was expected, or a file cannot be read or written.

# ENVIRONMENT

*NO_COLOR*
	When it is set and not empty, *explain* uses colours only when told to.

*MESH_FIB6_TAP*
	Of a process that *libmesh_fib6_tap.so* is preloaded into: the file that messages are captured into.
	%p in it becomes the number of the process. Unset, nothing is captured.

*MESH_FIB6_TAP_BYTES*
	How long that file may become: 64 MiB unless told.

*MESH_HOST_DIR*
	The directory of the development host's processes, which *host* looks into: $XDG\_RUNTIME\_DIR/mesh-host
	unless told, or /tmp/mesh-host-_uid_ without that.

# EXAMPLES

Capture what a process sends and receives, and read it:

```
LD_PRELOAD=libmesh_fib6_tap.so MESH_FIB6_TAP=/tmp/%p.pcapng ./service
mesh-fib6 capture /tmp/4711.pcapng
mesh-fib6 capture /tmp/4711.pcapng --frames | mesh-fib6 decode --frames --ipv6 '*'
```

Make a message, and see every byte of it:

```
echo '{"f1": [{"f3": "2001:db8::", "f4": 32}]}' | mesh-fib6 encode fib6.ipv6FwdUpdateMsg > route.bin
mesh-fib6 explain fib6.ipv6FwdUpdateMsg route.bin
mesh-fib6 explain fib6.ipv6FwdUpdateMsg route.bin --html > route.html
```

Run a server for programs of this machine, and see what they count:

```
eval "$(mesh-fib6 host up)"
./service &
mesh-fib6 host status --watch 1
mesh-fib6 host down
```

# SEE ALSO

*xxd*(1), *tshark*(1)
)scdoc";

} // namespace

std::string manual_of(const std::string &version, const std::string &about,
                      const std::vector<known_command> &commands) {
  std::string text =
      fmt::format("mesh-fib6(1) \"\" \"mesh-fib6 {}\"\n\n# NAME\n\nmesh-fib6 - looks at, "
                  "makes and checks messages of the IPv6 forwarding service\n\n"
                  "# SYNOPSIS\n\n",
                  version);
  for (const known_command &command : commands) {
    if (command.parts.empty())
      text += synopsis_of(command) + "++\n";
    for (const known_command &part : command.parts)
      text += synopsis_of(part) + "++\n";
  }
  text += "*mesh-fib6* *--help* | *--version*\n\n# DESCRIPTION\n\n" + escaped(about) +
          "\n\nEvery command has *--help*.\n\n# COMMANDS\n\n";
  for (const known_command &command : commands) {
    text += section_of(command);
    for (const known_command &part : command.parts)
      text += section_of(part);
  }
  return text + rest;
}

} // namespace mesh_fib6::tools::cli
