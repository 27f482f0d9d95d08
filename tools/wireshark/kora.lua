-- Wireshark dissector of the KORA link between router controllers and korabridge: TCP port 5194, described in
-- docs/protocol.md. Shows every message with its fields, pairs each response with its request, measures the response
-- time and marks what is malformed, refused or unanswered. For Wireshark and tshark 4 (Lua 5.2).
-- Use: copy to a Lua plugin folder (Help > About Wireshark > Folders) or run tshark -X lua_script:kora.lua.

local kora = Proto("kora", "KORA router control")

local header_bytes = 16
local max_message_bytes = 8192
local word_bytes = 4
local router_control = 12
local response_bit = 0x80000000
local short_format = 1

-- Names of values ----------------------------------------------------------------------------------------------------

local message_names = {
    [0x00000050] = "Take",
    [0x00000051] = "Set output LPR",
    [0x00000052] = "Get output status",
    [0x00000053] = "Get output changes",
    [0x00000055] = "Coherent take",
    [0x00000059] = "Partition info",
    [0x0000005e] = "Tally",
    [0x000000a2] = "Control-card presence",
    [0x00004000] = "Port presence",
    [0x00005000] = "System status",
    [0x80000000] = "Error response",
    [0x80000050] = "Take response",
    [0x80000002] = "Set output LPR response",
    [0x80000052] = "Get output status response",
    [0x80000053] = "Get output changes response",
    [0x80000059] = "Partition info response",
    [0x8000005e] = "Tally response",
    [0x800000a2] = "Control-card presence response",
    [0x80004000] = "Port presence response",
    [0x80005000] = "System status response",
}

-- As the bridge's console lists them. Only router control is answered.
local type_names = {
    [10] = "nptGeneralPurposeProtocolType",
    [router_control] = "router control",
    [14] = "nptZT4100ProtocolType",
    [16] = "nptMasterCtrlProtocolType",
    [19] = "nptPLVXProtocolType",
    [20] = "nptUDPDiscoveryProtocol",
    [21] = "nptSCPProtocol",
    [80] = "nptMasterCtrlProtocolTypeExtended",
}

local result_names = {
    [0] = "done",
    [3] = "invalid input",
    [4] = "invalid output",
    [5] = "no such level",
    [8] = "unknown message, or the command failed",
    [12] = "output is locked",
    [13] = "output is protected by another holder",
    [25] = "crosspoints of the output do not belong together",
}

-- The same codes in a status, where nothing was refused.
local status_result_names = {
    [3] = "shows no input of the level",
    [4] = "is not on the level, or not available",
    [5] = "no such level",
    [25] = "its crosspoints do not belong together",
}

local any_other = 0xffffffff
local lpr_codes = {
    { 0, 0, "release" }, { 1, 1, "lock" }, { 2, 2, "protect" }, { 3, 15, "counts as release" },
    { 16, 16, "forced release" }, { 17, any_other, "counts as release" },
}
local lpr_state_names = { [0] = "released", [1] = "locked", [2] = "protected" }
local lpr_status_names = { [0] = "all done", [0x80] = "at least one entry was refused" }
local entry_formats = { { 0, 0, "long entries" }, { short_format, short_format, "short entries" },
    { 2, any_other, "long entries" } }
local more_names = { [0] = "nothing further", [1] = "ask again at once" }
local present_names = { [0] = "absent", [1] = "present" }

-- Fields -------------------------------------------------------------------------------------------------------------

local field = {
    type = ProtoField.uint32("kora.type", "Protocol type", base.DEC, type_names),
    tag = ProtoField.uint32("kora.tag", "Tag", base.DEC_HEX),
    sequence = ProtoField.uint32("kora.sequence", "Sequence of the response", base.DEC),
    length = ProtoField.uint32("kora.length", "Length", base.DEC),
    id = ProtoField.uint32("kora.id", "Message id", base.HEX, message_names),
    count = ProtoField.uint32("kora.count", "Number of entries", base.DEC),
    level = ProtoField.uint32("kora.level", "Level", base.DEC),
    holder = ProtoField.uint32("kora.holder", "Holder (lprId)", base.DEC),
    input = ProtoField.uint32("kora.input", "Input", base.DEC),
    output = ProtoField.uint32("kora.output", "Output", base.DEC),
    first_output = ProtoField.uint32("kora.first_output", "First output", base.DEC),
    lpr_code = ProtoField.uint32("kora.lpr_code", "LPR code", base.DEC + base.RANGE_STRING, lpr_codes),
    lpr_state = ProtoField.uint32("kora.lpr_state", "LPR state", base.DEC, lpr_state_names),
    lpr_status = ProtoField.uint32("kora.lpr_status", "Status", base.HEX, lpr_status_names),
    result = ProtoField.uint32("kora.result", "Result", base.DEC, result_names),
    entry_format = ProtoField.uint32("kora.format", "Format", base.DEC + base.RANGE_STRING, entry_formats),
    status_format = ProtoField.uint32("kora.status_format", "Format of the system status", base.DEC),
    more = ProtoField.uint32("kora.more", "More", base.DEC, more_names),
    card = ProtoField.uint32("kora.card", "Card", base.DEC),
    present = ProtoField.uint32("kora.present", "Present", base.DEC, present_names),
    port_present = ProtoField.uint32("kora.port_present", "Port presence", base.DEC),
    error_code = ProtoField.uint32("kora.error", "Error", base.DEC, result_names),
    time = ProtoField.absolute_time("kora.time", "Time of the bridge", base.UTC),
    word = ProtoField.uint32("kora.word", "Word", base.DEC_HEX),
    rest = ProtoField.bytes("kora.rest", "Bytes that mean nothing"),
    response_in = ProtoField.framenum("kora.response_in", "Response in", base.NONE, frametype.RESPONSE),
    response_to = ProtoField.framenum("kora.response_to", "Response to the request in", base.NONE, frametype.REQUEST),
    response_time = ProtoField.relative_time("kora.response_time", "Response time"),
    request_id = ProtoField.uint32("kora.request_id", "Id of the request", base.HEX, message_names),
}
kora.fields = field

local finding = {
    bad_length = ProtoExpert.new("kora.bad_length", "Length outside 16 to 8192: the bridge drops what it holds",
        expert.group.MALFORMED, expert.severity.ERROR),
    cut_short = ProtoExpert.new("kora.cut_short", "Message ends before its last field",
        expert.group.MALFORMED, expert.severity.ERROR),
    missing_words = ProtoExpert.new("kora.missing_words", "Request ends before its last field",
        expert.group.MALFORMED, expert.severity.WARN),
    too_long = ProtoExpert.new("kora.too_long", "Bytes behind the last field",
        expert.group.MALFORMED, expert.severity.WARN),
    unaligned = ProtoExpert.new("kora.unaligned", "Length is no multiple of 4",
        expert.group.MALFORMED, expert.severity.WARN),
    unknown_type = ProtoExpert.new("kora.unknown_type", "Protocol type that the bridge counts and never answers",
        expert.group.PROTOCOL, expert.severity.WARN),
    unknown_id = ProtoExpert.new("kora.unknown_id", "Message id that no command has",
        expert.group.PROTOCOL, expert.severity.WARN),
    refused = ProtoExpert.new("kora.refused", "Refused",
        expert.group.RESPONSE_CODE, expert.severity.NOTE),
    failed = ProtoExpert.new("kora.failed", "Error response",
        expert.group.RESPONSE_CODE, expert.severity.WARN),
    sequence_gap = ProtoExpert.new("kora.sequence_gap", "Sequence does not follow the response before",
        expert.group.SEQUENCE, expert.severity.WARN),
    no_request = ProtoExpert.new("kora.no_request", "No request with this tag waits for a response",
        expert.group.SEQUENCE, expert.severity.WARN),
    wrong_response = ProtoExpert.new("kora.wrong_response", "Response does not belong to its request's id",
        expert.group.SEQUENCE, expert.severity.WARN),
    no_response = ProtoExpert.new("kora.no_response", "No response in this capture",
        expert.group.SEQUENCE, expert.severity.NOTE),
}
kora.experts = finding

kora.prefs.port = Pref.uint("TCP port", 5194, "The port on which the bridge serves controllers")

-- What is known of the connections -----------------------------------------------------------------------------------

-- Fields of other protocols would be of no use here: they are not there in the first pass, which finds the pairs.

local connections -- by the controller's and the bridge's address and port
local messages -- by place: what the first pass found out about a message

local function is_response_to(response_id, request_id)
    if response_id == 0x80000000 then return true end
    if request_id == 0x55 then return response_id == 0x80000050 end
    if request_id == 0x51 then return response_id == 0x80000002 end
    return response_id == request_id + response_bit
end

local function connection_of(pinfo, is_request)
    local source = tostring(pinfo.src) .. " " .. pinfo.src_port
    local destination = tostring(pinfo.dst) .. " " .. pinfo.dst_port
    local name = is_request and source .. " " .. destination or destination .. " " .. source
    local connection = connections[name] or { waiting = {} }
    connections[name] = connection
    return connection
end

-- `waiting`: the requests without a response, oldest first.
local function remember_request(connection, known)
    table.insert(connection.waiting, known)
end

local function remember_response(connection, known, sequence)
    local expected = connection.next_sequence
    if sequence == 0 and expected and expected ~= 0 then
        -- A new connection from the same port: what waited before the last response was never answered.
        local waiting = {}
        for _, request in ipairs(connection.waiting) do
            if request.frame > connection.last_response then table.insert(waiting, request) end
        end
        connection.waiting = waiting
        expected = nil
    end
    for index, request in ipairs(connection.waiting) do
        if request.tag == known.tag then
            table.remove(connection.waiting, index)
            request.response = known
            known.request = request
            break
        end
    end
    known.expected_sequence = expected
    connection.next_sequence = (sequence + 1) % 0x100000000
    connection.last_response = known.frame
end

-- The message's own record: made in the first pass, found again in the later ones.
local function record_of(message, pinfo, is_request, words)
    local place = pinfo.number .. "/" .. message:offset() .. "/" .. message:len()
    local known = messages[place]
    if not known then
        known = { frame = pinfo.number, time = pinfo.rel_ts, id = words.id, tag = words.tag }
        messages[place] = known
        local connection = connection_of(pinfo, is_request)
        if is_request then
            remember_request(connection, known)
        elseif words.tag then
            remember_response(connection, known, words.sequence)
        end
    end
    return known
end

local function time_between(request, response)
    local nanoseconds = math.floor((response.time - request.time) * 1e9 + 0.5)
    return NSTime.new(math.floor(nanoseconds / 1e9), nanoseconds % 1e9)
end

-- Reading a message word by word -------------------------------------------------------------------------------------

local Reader = {}
Reader.__index = Reader

local function reader_of(message, tree, is_request)
    local usable = message:len() - message:len() % word_bytes
    return setmetatable({ message = message, tree = tree, at = 0, usable = usable, is_request = is_request }, Reader)
end

function Reader:has(words)
    return self.at + words * word_bytes <= self.usable
end

-- Adds the next word to a tree (the message's own unless named) and returns its value and item; nothing when the
-- message has ended.
function Reader:word(which, tree)
    if not self:has(1) then
        self.ended = true
        return nil
    end
    local range = self.message(self.at, word_bytes)
    self.at = self.at + word_bytes
    return range:uint(), (tree or self.tree):add(which, range)
end

function Reader:words(which, count)
    for _ = 1, count do
        local at = self.at
        local _, item = self:word(which)
        if item then item:prepend_text(at .. ": ") end
    end
end

-- `count` entries of `words` words each; `add(tree, index)` reads one and returns its line.
function Reader:entries(count, words, add)
    for index = 0, (count or 0) - 1 do
        if not self:has(words) then
            self.ended = true
            return index
        end
        local tree = self.tree:add(kora, self.message(self.at, words * word_bytes), "")
        tree:set_text("Entry " .. index .. ": " .. add(tree, index))
    end
    return count or 0
end

-- Says what is missing or too much once the message has been read.
function Reader:finish()
    if self.ended then
        self.tree:add_proto_expert_info(self.is_request and finding.missing_words or finding.cut_short)
    end
    if self.at < self.message:len() then
        local rest = self.message(self.at)
        local item = self.tree:add(field.rest, rest)
        if rest:len() >= word_bytes then item:add_proto_expert_info(finding.too_long) end
    end
    if self.message:len() % word_bytes ~= 0 then
        self.tree:add_proto_expert_info(finding.unaligned)
    end
end

local function name_in(ranges, value)
    for _, range in ipairs(ranges) do
        if value >= range[1] and value <= range[2] then return range[3] end
    end
    return tostring(value)
end

local function name_of(names, value)
    return names[value] or tostring(value)
end

-- The result of an entry that asked for something, marked when it is a refusal.
function Reader:result(tree)
    local value, item = self:word(field.result, tree)
    if value and value ~= 0 then
        item:add_proto_expert_info(finding.refused, "Refused: " .. name_of(result_names, value))
        self.refusals = (self.refusals or 0) + 1
        self.first_refusal = self.first_refusal or value
    end
    return value
end

function Reader:outcome(count)
    if not self.refusals then return count == 1 and "done" or count .. " done" end
    return self.refusals .. " of " .. count .. " refused (" .. name_of(result_names, self.first_refusal) .. ")"
end

-- The payloads: each function reads one and returns what the information column says ---------------------------------

local payload = {}

local function take_request(reader)
    local count = reader:word(field.count)
    local line
    local read = reader:entries(count, 4, function(tree)
        local level, holder = reader:word(field.level, tree), reader:word(field.holder, tree)
        local input, output = reader:word(field.input, tree), reader:word(field.output, tree)
        local text = "level " .. level .. ", input " .. input .. " to output " .. output .. ", holder " .. holder
        line = line or text
        return text
    end)
    return read == 1 and line or read .. " entries" .. (line and ", " .. line .. ", ..." or "")
end
payload[0x50] = take_request
payload[0x55] = take_request

payload[0x51] = function(reader)
    local count = reader:word(field.count)
    local line
    local read = reader:entries(count, 4, function(tree)
        local level, output = reader:word(field.level, tree), reader:word(field.output, tree)
        local code, holder = reader:word(field.lpr_code, tree), reader:word(field.holder, tree)
        local text = name_in(lpr_codes, code) .. " level " .. level .. ", output " .. output .. ", holder " .. holder
        line = line or text
        return text
    end)
    return read == 1 and line or read .. " entries" .. (line and ", " .. line .. ", ..." or "")
end

payload[0x52] = function(reader)
    local format, level = reader:word(field.entry_format), reader:word(field.level)
    local first, count = reader:word(field.first_output), reader:word(field.count)
    return string.format("level %s, %s outputs from %s, %s", level or 0, count or 0, first or 0,
        format == short_format and "short" or "long")
end

payload[0x53] = function(reader)
    local format, level = reader:word(field.entry_format), reader:word(field.level)
    return string.format("level %s, %s", level or 0, format == short_format and "short" or "long")
end

payload[0x59] = function() return "" end
payload[0x4000] = payload[0x59]

payload[0x5e] = function(reader)
    local level, first, count = reader:word(field.level), reader:word(field.first_output), reader:word(field.count)
    return string.format("level %s, %s outputs from %s", level or 0, count or 0, first or 0)
end

payload[0xa2] = function(reader)
    return "card " .. (reader:word(field.card) or 0)
end

payload[0x5000] = function(reader)
    return "format " .. (reader:word(field.status_format) or 0)
end

local function result_lines(reader)
    local count = reader:word(field.count)
    local read = reader:entries(count, 1, function(tree) return name_of(result_names, reader:result(tree)) end)
    return reader:outcome(read)
end

payload[0x80000050] = result_lines

payload[0x80000002] = function(reader)
    reader:word(field.lpr_status)
    return result_lines(reader)
end

-- One output's result and input, with the lock state where the format has it.
local function output_line(reader, tree, output, is_long)
    local result = reader:word(field.result, tree)
    output = output or reader:word(field.output, tree)
    local input = reader:word(field.input, tree)
    local text = "output " .. output .. ": "
    if result == 0 then
        text = text .. "input " .. input
    else
        text = text .. name_of(status_result_names, result)
        reader.without_input = (reader.without_input or 0) + 1
    end
    if is_long then
        local state, holder = reader:word(field.lpr_state, tree), reader:word(field.holder, tree)
        text = text .. ", " .. name_of(lpr_state_names, state) .. (state ~= 0 and " by " .. holder or "")
    end
    return text
end

local function summary(reader, level, what)
    local rest = reader.without_input and ", " .. reader.without_input .. " without an input" or ""
    return "level " .. (level or "?") .. ", " .. what .. rest
end

local function output_lines(reader, level, first, count, is_long)
    local read = reader:entries(count, is_long and 4 or 2, function(tree, index)
        return output_line(reader, tree, (first + index) % 0x100000000, is_long)
    end)
    return summary(reader, level, read .. " outputs from " .. (first or "?"))
end

payload[0x80000052] = function(reader)
    local format, level = reader:word(field.entry_format), reader:word(field.level)
    local first, count = reader:word(field.first_output), reader:word(field.count)
    return output_lines(reader, level, first, count, format ~= short_format)
end

payload[0x8000005e] = function(reader)
    local level, first, count = reader:word(field.level), reader:word(field.first_output), reader:word(field.count)
    return output_lines(reader, level, first, count, false)
end

payload[0x80000053] = function(reader)
    local is_long = reader:word(field.entry_format) ~= short_format
    local level, count, more = reader:word(field.level), reader:word(field.count), reader:word(field.more)
    local read = reader:entries(count, is_long and 5 or 3, function(tree)
        return output_line(reader, tree, nil, is_long)
    end)
    return summary(reader, level, read .. " changes" .. (more == 1 and " and more" or ""))
end

payload[0x80000059] = function(reader)
    reader:words(field.word, 17)
    return ""
end

payload[0x800000a2] = function(reader)
    local card = reader:word(field.card)
    reader:words(field.word, 1)
    local present = reader:word(field.present)
    reader:words(field.word, 2)
    return "card " .. (card or "?") .. " " .. name_of(present_names, present)
end

payload[0x80004000] = function(reader)
    reader:word(field.port_present)
    return ""
end

-- Of each format: its words before the time, and behind it.
local status_layouts = { [0] = { 11 }, [2] = { 9, 6 }, [4] = { 12, 9 }, [6] = { 12, 10 } }

payload[0x80005000] = function(reader)
    local format = reader:word(field.status_format)
    local layout = status_layouts[format] or { 0 }
    reader:words(field.word, layout[1])
    if layout[2] then
        reader:word(field.time)
        reader:words(field.word, layout[2])
    end
    return "format " .. (format or "?")
end

payload[0x80000000] = function(reader)
    local code, item = reader:word(field.error_code)
    if item then item:add_proto_expert_info(finding.failed) end
    return name_of(result_names, code)
end

-- One message --------------------------------------------------------------------------------------------------------

local function add_pairing(tree, known, is_request, message, id, sequence)
    if is_request then
        if known.response then
            tree:add(field.response_in, known.response.frame):set_generated()
        elseif known.is_complete then
            tree:add_proto_expert_info(finding.no_response)
        end
        return
    end
    if known.request then
        tree:add(field.response_to, known.request.frame):set_generated()
        tree:add(field.request_id, known.request.id):set_generated()
        tree:add(field.response_time, time_between(known.request, known)):set_generated()
        if not is_response_to(id, known.request.id) then
            tree:add_proto_expert_info(finding.wrong_response)
        end
    elseif message:len() >= header_bytes + word_bytes then
        tree:add_proto_expert_info(finding.no_request)
    end
    if known.expected_sequence and known.expected_sequence ~= sequence then
        tree:add_proto_expert_info(finding.sequence_gap,
            "Sequence " .. sequence .. ", expected " .. known.expected_sequence)
    end
end

local function dissect_message(message, pinfo, root, is_request)
    local tree = root:add(kora, message())
    local reader = reader_of(message, tree, is_request)
    local protocol, type_item = reader:word(field.type)
    local word1 = reader:word(is_request and field.tag or field.sequence)
    reader:word(field.length)
    local id, id_item = reader:word(field.id)
    local name = message_names[id] or string.format("Unknown message 0x%08x", id)

    if protocol ~= router_control then
        type_item:add_proto_expert_info(finding.unknown_type)
        if reader:has(1) then tree:add(field.rest, message(reader.at)) end
        tree:append_text(", protocol type " .. protocol)
        return "Protocol type " .. protocol .. " (" .. name_of(type_names, protocol) .. ")"
    end

    local tag = word1
    if not is_request then tag = reader:word(field.tag) end
    local known = record_of(message, pinfo, is_request, { id = id, tag = tag, sequence = word1 })
    known.is_complete = pinfo.visited -- every frame has been seen once

    local read = payload[id]
    local is_of_its_direction = (id >= response_bit) == not is_request
    local text = ""
    if read and is_of_its_direction then
        text = read(reader)
        reader:finish()
    else
        id_item:add_proto_expert_info(finding.unknown_id)
        if reader.at < message:len() then tree:add(field.rest, message(reader.at)) end
    end
    add_pairing(tree, known, is_request, message, id, word1)

    local line = name .. (text ~= "" and ": " .. text or "")
    tree:append_text(", " .. line .. (tag and ", tag " .. tag or ""))
    return line
end

-- The stream ---------------------------------------------------------------------------------------------------------

local function is_to_bridge(pinfo, tvb)
    if pinfo.dst_port == pinfo.match_uint then return true end
    if pinfo.src_port == pinfo.match_uint then return false end
    return tvb:len() < header_bytes or tvb(12, 4):uint() < response_bit
end

function kora.dissector(tvb, pinfo, root)
    local at = 0
    local lines = {}
    pinfo.cols.protocol = "KORA"
    while at < tvb:len() do
        local held = tvb:len() - at
        local length = held >= 12 and tvb(at + 8, 4):uint() or header_bytes
        if length < header_bytes or length > max_message_bytes then
            local tree = root:add(kora, tvb(at))
            tree:add(field.length, tvb(at + 8, 4)):add_proto_expert_info(finding.bad_length)
            lines[#lines + 1] = "Length " .. length .. " is outside 16 to 8192"
            break
        end
        local needed = math.max(length, header_bytes) - held
        if held < header_bytes or needed > 0 then
            if pinfo.can_desegment == 0 then
                root:add(kora, tvb(at)):add_proto_expert_info(finding.cut_short)
                lines[#lines + 1] = "Part of a message"
                break
            end
            pinfo.desegment_offset = at
            pinfo.desegment_len = held < header_bytes and DESEGMENT_ONE_MORE_SEGMENT or needed
            break
        end
        local message = tvb(at, length):tvb()
        lines[#lines + 1] = dissect_message(message, pinfo, root, is_to_bridge(pinfo, message))
        at = at + length
    end
    if #lines > 0 then
        -- A segment that ends one message and begins another comes here twice.
        local line = table.concat(lines, " | ")
        if pinfo.private.kora_line then line = pinfo.private.kora_line .. " | " .. line end
        pinfo.private.kora_line = line
        pinfo.cols.info = line
    end
end

-- Called before each load of a capture.
function kora.init()
    connections = {}
    messages = {}
end

local tcp_ports = DissectorTable.get("tcp.port")
local port = kora.prefs.port
tcp_ports:add(port, kora)

function kora.prefs_changed()
    if port ~= kora.prefs.port then
        tcp_ports:remove(port, kora)
        port = kora.prefs.port
        tcp_ports:add(port, kora)
    end
end
