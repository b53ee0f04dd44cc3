-- Wireshark dissector of the IPv6 forwarding service's messages, as libmesh_fib6_tap.so captures them.
-- Written by `mesh-fib6 describe --all --wireshark`; put it into the folder of personal Lua plugins
-- (Help, About Wireshark, Folders), or name it: wireshark -X lua_script:mesh_fib6.lua capture.pcapng
--
-- Filters: fib6.message == "feiBrokerFib6_ipv6FwdUpdateMsg", fib6.feiBrokerFib6_ipv6Fwd.f3 == 2001:db8::,
-- fib6.malformed. Members have the names of the records; an array of four words is shown as the address
-- that its bytes are.

-- By identifier: {name, root table}. By name: tables, a member each: {name, kind, width, length, table}.
local MESSAGES = {
@MESSAGES@}
local TABLES = {
@TABLES@}

local fib6 = Proto("fib6", "IPv6 forwarding service")
local HEADER = 24
local DIRECTIONS = {[0] = "sent", [1] = "received"}

local field = {
  direction = ProtoField.uint8("fib6.direction", "Direction", base.DEC, DIRECTIONS),
  destination = ProtoField.uint32("fib6.destination", "Destination"),
  target = ProtoField.uint64("fib6.target", "Target"),
  id = ProtoField.uint32("fib6.id", "Identifier", base.HEX),
  message = ProtoField.string("fib6.message", "Message"),
  length = ProtoField.uint32("fib6.length", "Length"),
}
local expert = {
  malformed = ProtoExpert.new("fib6.malformed", "Malformed message", expert.group.MALFORMED, expert.severity.ERROR),
  unknown = ProtoExpert.new("fib6.unknown", "No message has this identifier", expert.group.UNDECODED,
    expert.severity.WARN),
  cut = ProtoExpert.new("fib6.cut", "The capture has not all of the message", expert.group.UNDECODED,
    expert.severity.WARN),
}

local fields = {}
for _, each in pairs(field) do fields[#fields + 1] = each end
-- One filter a member, and one for the count of a vector.
local member_field, count_field = {}, {}
for name, members in pairs(TABLES) do
  member_field[name], count_field[name] = {}, {}
  for slot, member in ipairs(members) do
    local short, kind, width, length = member[1], member[2], member[3], member[4]
    local filter = "fib6." .. name .. "." .. short
    local made
    if kind == "scalar" then
      local of_width = {[1] = ProtoField.uint8, [2] = ProtoField.uint16, [4] = ProtoField.uint32}
      made = of_width[width](filter, short, base.DEC_HEX)
    elseif kind == "words" and width * length == 16 then
      made = ProtoField.ipv6(filter, short)
    elseif kind == "table" or kind == "table_vector" then
      made = ProtoField.none(filter, short)
    else
      made = ProtoField.bytes(filter, short)
    end
    member_field[name][slot] = made
    fields[#fields + 1] = made
    if kind == "table_vector" or kind == "byte_vector" then
      count_field[name][slot] = ProtoField.uint32(filter .. "_count", short .. "_count")
      fields[#fields + 1] = count_field[name][slot]
    end
  end
end
fib6.fields = fields
fib6.experts = expert

-- What a walk through a message needs: the bytes, and whether it has ended.
local walk = {}
walk.__index = walk

function walk:holds(at, size) return at >= 0 and at + size <= self.size end
function walk:half(at) return self.bytes(at, 2):le_uint() end
function walk:word(at) return self.bytes(at, 4):le_uint() end

-- False, and says why: the library reads no further either.
function walk:refuse(tree, at, size, why)
  tree:add_proto_expert_info(expert.malformed, why)
  self.why = why .. " (byte " .. at .. ")"
  return false
end

local WRAP = 4294967296

-- The vtable of a table; nil when there is none.
function walk:open(tree, word, at)
  if at < 4 or not self:holds(at, 4) then
    return self:refuse(tree, word, 4, "table-offset: expected a table at 4 to " .. self.size - 4 ..
      ", found one at " .. at)
  end
  local vtable = (at - self:word(at)) % WRAP
  if vtable < 4 or not self:holds(vtable, 4) then
    return self:refuse(tree, at, 4, "vtable-offset: expected a vtable at 4 to " .. self.size - 4 ..
      ", found one at " .. vtable)
  end
  local size = self:half(vtable)
  if not self:holds(vtable, size) then
    return self:refuse(tree, vtable, 2, "vtable-size: expected a vtable of at most " .. self.size - vtable ..
      " bytes, found one of " .. size)
  end
  return vtable, size
end

function walk:follow(tree, at)
  local offset = self:word(at)
  if at + offset >= WRAP then
    return self:refuse(tree, at, 4, "uoffset: expected at most " .. self.size - at - 4 .. ", found " .. offset)
  end
  return at + offset
end

function walk:table(tree, name, word, at)
  local vtable, vtable_size = self:open(tree, word, at)
  if not vtable then return false end
  for slot, member in ipairs(TABLES[name]) do
    if vtable_size < 4 + 2 * slot then return true end
    local entry = vtable + 2 + 2 * slot
    local distance = self:half(entry)
    if distance ~= 0 and not self:member(tree, name, slot, member, entry, at + distance) then return false end
  end
  return true
end

function walk:member(tree, name, slot, member, entry, at)
  local kind, width, length = member[2], member[3], member[4]
  local made = member_field[name][slot]
  if not self:holds(at, kind == "scalar" and width or 4) then
    return self:refuse(tree, entry, 2, "entry: " .. member[1] .. " is behind the end, at " .. at)
  end
  if kind == "scalar" then
    tree:add_le(made, self.bytes(at, width))
    return true
  end
  local target = self:follow(tree, at)
  if not target then return false end
  if kind == "table" then
    local inner = tree:add(made, self.bytes(at, 4))
    inner:set_text(member[1] .. ": " .. member[5])
    return self:table(inner, member[5], at, target)
  end
  if not self:holds(target, 4) then
    return self:refuse(tree, at, 4, "uoffset: the count of " .. member[1] .. " is behind the end, at " .. target)
  end
  local count, items = self:word(target), target + 4
  if kind == "words" or kind == "bytes" then
    if count ~= length then
      return self:refuse(tree, target, 4, "array-count: expected " .. length .. " items of " .. member[1] ..
        ", found " .. count)
    end
    if not self:holds(items, count * width) then
      return self:refuse(tree, target, 4, "item-count: " .. member[1] .. " ends behind the end")
    end
    tree:add(made, self.bytes(items, count * width))
    return true
  end
  tree:add_le(count_field[name][slot], self.bytes(target, 4))
  if not self:holds(items, count * (kind == "byte_vector" and 1 or 4)) then
    return self:refuse(tree, target, 4, "item-count: " .. member[1] .. " has " .. count .. " items, for " ..
      self.size - items .. " bytes")
  end
  if kind == "byte_vector" then
    if count > 0 then tree:add(made, self.bytes(items, count)) end
    return true
  end
  for i = 0, count - 1 do
    local word = items + 4 * i
    local element = tree:add(made, self.bytes(word, 4))
    element:set_text(member[1] .. "[" .. i .. "]: " .. member[5])
    local where = self:follow(element, word)
    if not where or not self:table(element, member[5], word, where) then return false end
  end
  return true
end

function fib6.dissector(buffer, packet, tree)
  if buffer:len() < HEADER or buffer(0, 1):uint() ~= 1 then return 0 end
  local direction, id, length = buffer(1, 1):uint(), buffer(16, 4):le_uint(), buffer(20, 4):le_uint()
  local message = MESSAGES[id]
  local name = message and message[1] or string.format("0x%08X", id)
  packet.cols.protocol = "FIB6"
  packet.cols.info = name .. ", " .. length .. " bytes"
  packet.cols.src = DIRECTIONS[direction] == "sent" and "this process" or "mesh"
  packet.cols.dst = DIRECTIONS[direction] == "sent" and tostring(buffer(4, 4):le_uint()) or "this process"
  local top = tree:add(fib6, buffer(), "IPv6 forwarding service: " .. name)
  top:add(field.direction, buffer(1, 1))
  if DIRECTIONS[direction] == "sent" then
    top:add_le(field.destination, buffer(4, 4))
    top:add_le(field.target, buffer(8, 8))
  end
  top:add_le(field.id, buffer(16, 4))
  top:add(field.message, buffer(16, 4), name)
  top:add_le(field.length, buffer(20, 4))
  if not message then
    top:add_proto_expert_info(expert.unknown)
    return buffer:len()
  end
  if buffer:len() - HEADER < length then
    top:add_proto_expert_info(expert.cut)
    return buffer:len()
  end
  local record = top:add(buffer(HEADER), name)
  if length < 4 then
    record:add_proto_expert_info(expert.malformed, "length: expected at least 4 bytes, found " .. length)
    packet.cols.info:append(" [malformed]")
    return buffer:len()
  end
  local through = setmetatable({bytes = buffer(HEADER, length):tvb(), size = length}, walk)
  if not through:table(record, message[2], 0, through:word(0)) then
    packet.cols.info:append(" [malformed: " .. through.why .. "]")
  end
  return buffer:len()
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, fib6)
