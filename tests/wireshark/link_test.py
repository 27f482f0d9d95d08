"""What the dissector makes of segments, pairs, bad messages and settings."""

import pathlib
import random
import tempfile
import unittest

from capture import RAW_IP, Capture, Connection, dissect, message, tshark, words

POLL = 0x53
TAKE = 0x50
SET_LPR = 0x51
COHERENT_TAKE = 0x55
CARD = 0xA2
PORT = 0x4000


def poll(tag, level=1):
    return message(POLL, tag, 1, level)


def poll_response(sequence, tag):
    return message(0x80000053, sequence, tag, 1, 1, 0, 0)


def take(tag, *entries):
    return message(TAKE, tag, len(entries), *(word for entry in entries for word in entry))


def take_response(sequence, tag, *results):
    return message(0x80000050, sequence, tag, len(results), *results)


class LinkTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.capture = Capture(pathlib.Path(folder.name) / "link.pcap", RAW_IP)
        self.connection = Connection(self.capture, 40000)

    def dissect(self, *options):
        self.capture.close()
        return dissect(self.capture.path, *options)

    def only(self, *options):
        messages = self.dissect(*options)
        self.assertEqual(len(messages), 1, messages)
        return messages[0]

    def columns(self, *options):
        self.capture.close()
        return tshark(self.capture.path, "-T", "fields", "-e", "_ws.col.Info", *options).splitlines()

    # Segments

    def test_message_in_single_bytes_is_shown_once_with_the_last(self):
        frames = [self.connection.request(bytes([byte])) for byte in take(7, (1, 2, 3, 4))]
        shown = self.only()
        self.assertEqual(shown.frame, frames[-1])
        self.assertEqual(shown.all("kora.output"), ["4"])

    def test_messages_in_one_segment_are_all_shown(self):
        self.connection.request(poll(1) + take(2, (1, 0, 5, 6)) + poll(3))
        self.assertEqual([each.one("kora.tag") for each in self.dissect()], ["1", "2", "3"])

    def test_header_and_payload_apart_are_one_message(self):
        data = take(7, (1, 2, 3, 4))
        self.connection.request(data[:16])
        last = self.connection.request(data[16:])
        self.assertEqual(self.only().frame, last)

    def test_equal_messages_across_segments_are_paired_one_by_one(self):
        data = poll(0) * 3
        requests = [self.connection.request(piece) for piece in (data[:30], data[30:50], data[50:])]
        for sequence in range(3):
            self.connection.response(poll_response(sequence, 0))
        for passes in ((), ("-2",)):
            shown = self.dissect(*passes)
            self.assertEqual([each.frame for each in shown[:3]], [requests[0], requests[1], requests[2]])
            self.assertEqual([each.one("kora.response_to") for each in shown[3:]], [str(each) for each in requests])

    def test_information_column_names_every_message_of_a_segment(self):
        self.connection.request(poll(1) + take(2, (1, 9, 5, 6)))
        self.assertEqual(self.columns(), [
            "Get output changes: level 1, short | Take: level 1, input 5 to output 6, holder 9"])

    def test_information_column_names_the_message_that_a_segment_ends_and_those_behind_it(self):
        data = poll(1) + message(PORT, 2)
        self.connection.request(data[:10])
        self.connection.request(data[10:])
        self.assertEqual(self.columns()[1], "Get output changes: level 1, short | Port presence")

    # Pairs

    def test_response_time_is_from_request_to_response(self):
        self.connection.request(poll(1))
        self.connection.request(poll(2))
        self.connection.response(poll_response(0, 1))
        self.connection.response(poll_response(1, 2))
        self.assertEqual([float(each.one("kora.response_time")) for each in self.dissect()[2:]], [0.002, 0.002])

    def test_request_knows_its_response_once_all_was_read(self):
        self.connection.request(poll(1))
        self.connection.response(poll_response(0, 1))
        self.connection.request(poll(2))
        answered, _, unanswered = self.dissect("-2")
        self.assertEqual(answered.one("kora.response_in"), "2")
        self.assertFalse(answered.has("kora.no_response"))
        self.assertTrue(unanswered.has("kora.no_response"))

    def test_same_tag_on_two_connections_is_two_pairs(self):
        other = Connection(self.capture, 40001)
        self.connection.request(poll(1))
        other.request(poll(1))
        other.response(poll_response(0, 1))
        self.connection.response(poll_response(0, 1))
        self.assertEqual([each.one("kora.response_to") for each in self.dissect()[2:]], ["2", "1"])

    def test_new_connection_from_the_same_port_starts_afresh(self):
        self.connection.request(poll(1) + poll(1))
        self.connection.response(poll_response(0, 1))
        again = Connection(self.capture, 40000, first=(100000, 200000))
        frame = again.request(poll(1))
        again.response(poll_response(0, 1))
        response = self.dissect()[-1]
        self.assertEqual(response.one("kora.response_to"), str(frame))
        self.assertFalse(response.has("kora.sequence_gap"))

    def test_odd_response_ids_belong_to_their_requests(self):
        self.connection.request(message(COHERENT_TAKE, 1, 0) + message(SET_LPR, 2, 0))
        self.connection.response(take_response(0, 1) + message(0x80000002, 1, 2, 0, 0))
        for response in self.dissect()[2:]:
            self.assertTrue(response.has("kora.response_to"))
            self.assertFalse(response.has("kora.wrong_response"))

    def test_response_of_another_command_is_marked(self):
        self.connection.request(message(SET_LPR, 2, 0))
        self.connection.response(take_response(0, 2))
        self.assertTrue(self.dissect()[1].has("kora.wrong_response"))

    def test_response_without_request_is_marked(self):
        self.connection.request(poll(1))
        self.connection.response(poll_response(0, 2))
        self.assertTrue(self.dissect()[1].has("kora.no_request"))

    def test_lost_response_shows_in_the_sequence(self):
        for tag in range(3):
            self.connection.request(poll(tag))
        for sequence, tag in ((4294967295, 0), (0, 1), (2, 2)):
            self.connection.response(poll_response(sequence, tag))
        self.assertEqual([each.has("kora.sequence_gap") for each in self.dissect()[3:]], [False, False, True])

    # Values

    def test_refusals_are_named_in_the_line_and_marked(self):
        self.connection.request(take(1, (1, 0, 2, 3), (1, 0, 2, 4), (9, 0, 2, 4)))
        self.connection.response(take_response(0, 1, 0, 12, 5))
        response = self.dissect()[1]
        self.assertIn("2 of 3 refused (output is locked)", response.line)
        self.assertEqual(len(response.all("kora.refused")), 2)

    def test_output_numbers_of_a_tally_wrap(self):
        self.connection.response(message(0x8000005E, 0, 1, 1, 0xFFFFFFFF, 2, 0, 10, 0, 11))
        text = tshark(self._closed(), "-V")
        self.assertIn("output 4294967295: input 10", text)
        self.assertIn("output 0: input 11", text)

    def test_output_without_an_input_is_no_refusal(self):
        self.connection.response(message(0x8000005E, 0, 1, 1, 5, 3, 0, 10, 3, 0, 25, 0))
        shown = self.only()
        self.assertFalse(shown.has("kora.refused"))
        self.assertIn("3 outputs from 5, 2 without an input", shown.line)
        self.assertIn("Entry 1: output 6: shows no input of the level", tshark(self._closed(), "-V"))

    def _closed(self):
        self.capture.close()
        return self.capture.path

    def test_lpr_codes_that_nobody_defined_count_as_release(self):
        self.connection.request(message(SET_LPR, 1, 3, 1, 5, 2, 7, 1, 6, 3, 7, 1, 8, 17, 7))
        lines = [field.line for field in self.only().fields if field.name == "kora.lpr_code"]
        self.assertEqual(lines, ["LPR code: protect (2)", "LPR code: counts as release (3)",
                                 "LPR code: counts as release (17)"])

    def test_long_status_says_who_holds_an_output(self):
        self.connection.response(message(0x80000052, 0, 1, 0, 1, 5, 2, 0, 105, 2, 7, 0, 106, 0, 0))
        text = tshark(self._closed(), "-V")
        self.assertIn("Entry 0: output 5: input 105, protected by 7", text)
        self.assertIn("Entry 1: output 6: input 106, released", text)

    # What is bad

    def test_lengths_outside_the_limits_are_marked_and_the_next_segment_is_read_afresh(self):
        for length in (0, 15, 8193, 4294967295):
            self.connection.request(message(CARD, 1, 3, length=length) + poll(2))
        self.connection.request(poll(3))
        *bad, good = self.dissect()
        self.assertEqual([each.has("kora.bad_length") for each in bad], [True] * 4)
        self.assertFalse(good.has("kora.bad_length"))
        self.assertEqual(good.one("kora.tag"), "3")

    def test_largest_message_is_read(self):
        entries = [(1, 0, 2, output) for output in range(510)]
        data = take(1, *entries) + b"\0" * 12
        data = data[:8] + words(8192) + data[12:]
        self.connection.request(data[:5000])
        self.connection.request(data[5000:])
        shown = self.only()
        self.assertEqual(len(shown.all("kora.output")), 510)
        self.assertTrue(shown.has("kora.too_long"))

    def test_request_without_all_that_its_count_promises_is_marked(self):
        self.connection.request(message(TAKE, 1, 3, 1, 0, 2, 3, 1, 0))
        shown = self.only()
        self.assertTrue(shown.has("kora.missing_words"))
        self.assertEqual(shown.all("kora.output"), ["3"])

    def test_request_without_a_payload_is_marked(self):
        for message_id in (TAKE, SET_LPR, 0x52, POLL, 0x5E, CARD, 0x5000):
            self.connection.request(message(message_id, 1))
        self.assertEqual([each.has("kora.missing_words") for each in self.dissect()], [True] * 7)

    def test_response_that_ends_early_is_marked(self):
        ids = (0x80000000, 0x80000002, 0x80000050, 0x80000052, 0x80000053, 0x80000059, 0x8000005E, 0x800000A2,
               0x80004000, 0x80005000)
        for sequence, message_id in enumerate(ids):
            self.connection.response(message(message_id, sequence, 1))
        self.connection.response(message(0x80000050, len(ids)))
        self.assertEqual([each.has("kora.cut_short") for each in self.dissect()], [True] * (len(ids) + 1))

    def test_words_behind_the_last_field_are_marked(self):
        self.connection.request(message(PORT, 1, 0xDEADBEEF))
        shown = self.only()
        self.assertTrue(shown.has("kora.too_long"))
        self.assertEqual([field.bytes for field in shown.fields if field.name == "kora.rest"], ["deadbeef"])

    def test_length_that_is_no_multiple_of_four_is_marked(self):
        self.connection.request(message(PORT, 1, length=18) + b"\1\2" + poll(2))
        odd, following = self.dissect()
        self.assertTrue(odd.has("kora.unaligned"))
        self.assertFalse(odd.has("kora.too_long"))
        self.assertEqual(following.one("kora.tag"), "2")

    def test_other_protocol_types_are_named_and_marked(self):
        self.connection.request(message(TAKE, 1, 5, protocol=14))
        shown = self.only()
        self.assertTrue(shown.has("kora.unknown_type"))
        self.assertIn("nptZT4100ProtocolType", next(field.line for field in shown.fields if field.name == "kora.type"))
        self.assertFalse(shown.has("kora.count"))

    def test_message_ids_of_the_other_direction_are_unknown(self):
        self.connection.request(message(0x80000050, 1, 0))
        self.connection.response(message(TAKE, 0, 1, 0))
        self.assertEqual([each.has("kora.unknown_id") for each in self.dissect()], [True, True])

    def test_part_of_a_message_is_said_where_nothing_is_put_together(self):
        self.connection.request(poll(1)[:10])
        self.connection.request(poll(1)[10:])
        first, _ = self.dissect("-o", "tcp.desegment_tcp_streams:FALSE")
        self.assertTrue(first.has("kora.cut_short"))

    def test_message_that_the_capture_cut_off_fails_nobody(self):
        self.connection.request(take(1, (1, 2, 3, 4), (1, 2, 3, 5)), captured=40 + 30)
        self.connection.request(poll(2))
        self.assertEqual(self.dissect()[-1].one("kora.tag"), "2")

    def test_no_payload_makes_the_dissector_fail(self):
        dice = random.Random(1)
        ids = (TAKE, SET_LPR, 0x52, POLL, COHERENT_TAKE, 0x59, 0x5E, CARD, PORT, 0x5000, 0, 2)
        for number in range(600):
            connection = Connection(self.capture, 41000 + number)
            values = [dice.choice((0, 1, 2, 4, 6, 0x80, 0xFFFFFFFF)) for _ in range(dice.randrange(12))]
            message_id = dice.choice(ids)
            connection.request(message(message_id, 1, *values))
            connection.response(message(message_id | 1 << 31, 0, 1, *values))
        self.assertEqual(len(self.dissect("-2")), 1200)  # dissect() refuses captures with which Lua had trouble

    # Settings

    def test_another_port_can_be_chosen(self):
        other = Connection(self.capture, 40001, bridge_port=6000)
        other.request(poll(1))
        self.connection.request(poll(2))
        self.assertEqual(self.only("-o", "kora.port:6000").one("kora.tag"), "1")

    def test_stream_can_be_decoded_by_hand_on_another_port(self):
        other = Connection(self.capture, 40001, bridge_port=6000)
        other.request(poll(1))
        other.response(poll_response(0, 1))
        request, response = self.dissect("-d", "tcp.port==6000,kora")
        self.assertEqual(request.one("kora.tag"), "1")
        self.assertEqual(response.one("kora.response_to"), "1")


if __name__ == "__main__":
    unittest.main()
