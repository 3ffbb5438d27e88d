"""The Python package, on a host of its own.

usage: binding_test.py CSCTL EXAMPLES [unittest arguments]
"""

import math
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path

import configstore
from configstore import Context, ObjectId

NETD = "netd/ipstack/stack_settings"
USER = "accessd/local/user_account"
NET = {"hostname": "n", "hw_address": "02:00:5e:10:00:01"}
DORA = {"login": "dora", "uid": 7}

VALUES_SCHEMA = """{"component": "t", "group": "g", "key": "values", "version": "1", "schema": {
    "type": "object", "additionalProperties": false, "properties": {"v": {"type": "any"},
    "l": {"type": "long"}, "d": {"type": "double"}, "s": {"type": "string"},
    "n": {"type": "array", "items": {"type": "array", "items": {"type": "integer"}}}}}}"""

CYCLE = []
CYCLE.append(CYCLE)


def nested(levels):
    value = 1
    for _ in range(levels):
        value = [value]
    return value


LOSSLESS = [
    {"l": 2**63 - 1}, {"l": -(2**63)}, {"v": 2**64 - 1}, {"d": 5.0}, {"d": 0.1}, {"d": -0.0}, {"d": 5e-324},
    {"d": 1.7976931348623157e308}, {"s": 'é\u0000"\\\n\u2028😀'}, {"v": True}, {"v": None}, {"n": [[1], []]},
]

REFUSED = [
    ({"d": math.nan}, "/d: nan"), ({"d": -math.inf}, "/d: -inf"), ({"v": [1, {2: 3}]}, "/v/1: the name of a member"),
    ({"l": 2**64}, "/l: the integer 18446744073709551616"), ({"v": {1}}, "/v: a set"), ({"v": b"x"}, "/v: a bytes"),
    ({"v": CYCLE}, "contains itself"), ({"v": nested(600)}, "deeper than 512"), ({"s": "\ud800"}, "UTF-8"),
    ([], "object"), ({"d": 5}, "expected double"), ({"l": 5.0}, "expected long"),
]


class Binding(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.root = tempfile.TemporaryDirectory()
        configstore.set_host_root(cls.root.name)
        try:
            configstore.Store()
            raise AssertionError("there is no store yet")
        except configstore.ConfigStoreError as error:
            assert error.storage is configstore.StorageFault.MISSING
        configstore.create_databases()
        values = Path(cls.root.name, "values.json")
        values.write_text(VALUES_SCHEMA)
        configstore.register_schema_files([values, *EXAMPLES.glob("components/*/schema/*.json")])

    def setUp(self):
        self.store = configstore.Store()
        self.store.delete(NETD)
        self.store.delete_instances(USER)

    def test_values_come_back_as_they_are(self):
        for value in LOSSLESS:
            with self.subTest(value=value):
                self.store.set("t/g/values", value)
                self.assertEqual(repr(value), repr(self.store.get("t/g/values")))

    def test_values_that_cannot_be_stored_are_refused(self):
        self.store.set("t/g/values", {"l": 1})
        for value, message in REFUSED:
            with self.subTest(message=message):
                with self.assertRaisesRegex(ValueError, message) as caught:
                    self.store.set("t/g/values", value)
                self.assertIsInstance(caught.exception, configstore.ConfigStoreError)
        self.assertEqual({"l": 1}, self.store.get("t/g/values"))

    def test_errors_carry_code_and_violations(self):
        with self.assertRaises(configstore.ValidationError) as caught:
            self.store.set(NETD, {**NET, "mtu": 1, "x": 1})
        self.assertEqual(1089, caught.exception.code)
        self.assertEqual({"/mtu", ""}, {violation.field for violation in caught.exception.errors})
        self.assertIn("/mtu: Integer value below minimum: 576", str(caught.exception))
        for name, raised in {
            "a/b/c": configstore.ValidationError, NETD + "@x": configstore.ValidationError,
            "a/b": configstore.InvalidArgumentError, ("a", "b"): configstore.InvalidArgumentError,
            NETD + "#/mtu": configstore.InvalidArgumentError, 3: configstore.InvalidArgumentError,
        }.items():
            with self.subTest(name=name), self.assertRaises(raised):
                self.store.get(name)

    def test_names_are_texts_or_tuples(self):
        name = ObjectId("accessd", "local", "user_account", "a/b@é\udcff")
        self.assertEqual("accessd/local/user_account@a%2Fb%40é%FF", str(name))
        self.assertEqual(name, ObjectId.parse(str(name)))
        self.store.set(name, DORA)
        self.assertEqual(DORA, self.store.get(str(name)))
        self.assertEqual({name: DORA}, self.store.instances(("accessd", "local", "user_account")))

    def test_instances(self):
        dora = self.store.add(USER, DORA)
        self.store.set(USER + "@bob", {"login": "bob", "uid": 8})
        self.assertEqual({dora: DORA}, self.store.instances(USER, {"uid": 7}))
        self.store.delete_instances(USER, {"uid": 7})
        self.assertEqual(["bob"], [each.instance for each in self.store.instances(USER)])
        self.store.replace(USER, [DORA, {**DORA, "uid": 9}])
        self.assertEqual([7, 9], sorted(value["uid"] for value in self.store.instances(USER).values()))
        self.assertIsNone(self.store.get(USER + "@bob"))

    def test_transactions_take_effect_whole_or_not_at_all(self):
        with self.store.transaction():
            self.store.set(NETD, NET)
            with self.assertRaises(KeyError), self.store.transaction():
                self.store.update(NETD, {"mtu": 9000})
                raise KeyError
            self.assertEqual(NET, self.store.get(NETD))
            self.assertIsNone(configstore.Store().get(NETD))
        self.assertEqual(NET, configstore.Store().get(NETD))
        with self.assertRaises(configstore.ValidationError), self.store.transaction():
            self.store.update(NETD, {"mtu": 9000})
            self.store.update(NETD, {"mtu": 1})
        self.assertEqual(NET, self.store.get(NETD))

    def test_a_closed_store_says_so(self):
        with configstore.Store() as store:
            store.transaction().__enter__()
            store.set(NETD, NET)
        store.close()
        with self.assertRaisesRegex(configstore.InvalidArgumentError, "closed"):
            store.get(NETD)
        self.assertIsNone(self.store.get(NETD))

    def test_explain_tells_layers_and_masks_secrets(self):
        self.store.set(USER + "@x", {**DORA, "password_hash": "$6$x", "home_volume": "v"})
        fields = {field.path: field for field in self.store.explain(USER + "@x").fields}
        self.assertEqual(("user", 7), (fields["/uid"].layer, fields["/uid"].effective))
        self.assertEqual("vital", fields["/home_volume"].layer)
        self.assertEqual("/bin/sh", fields["/shell"].schema_default)
        self.assertNotIn("$6$x", repr(fields))
        self.assertIn("$6$x", repr(self.store.explain(USER + "@x", show_secrets=True)))

    def test_watcher_tells_what_changed(self):
        watcher = configstore.Watcher([("netd",), USER + "@x"])
        self.store.set(NETD, NET)
        self.store.set(USER + "@y", DORA)
        self.assertEqual([("created", ObjectId.parse(NETD))], watcher.poll())
        self.assertEqual([], watcher.poll())

    def test_threads_share_a_store(self):
        failed = []

        def work(name):
            try:
                for uid in range(30):
                    self.store.set(name, {"login": "a", "uid": uid})
                    failed.extend([] if self.store.get(name)["uid"] == uid else [name])
            except Exception as error:
                failed.append(error)

        threads = [threading.Thread(target=work, args=(f"{USER}@t{i}",)) for i in range(4)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()
        self.assertEqual([], failed)

    def test_a_boot_waits_for_confirmation(self):
        def csctl(*words):
            return subprocess.run([CSCTL, "--root", self.root.name, *words], capture_output=True).returncode

        self.store.set(NETD, {**NET, "mtu": 9000})
        self.assertEqual(0, csctl("load"))
        self.assertTrue(configstore.is_boot())
        self.assertIsNone(self.store.get(NETD).get("mtu"), "an unconfirmed value is not read")
        self.assertEqual(9000, configstore.pending(NETD)["mtu"])
        with self.assertRaisesRegex(configstore.ValidationError, "during boot"):
            self.store.update(NETD, {"mtu": 1500})
        configstore.confirm(NETD)
        self.store.update(NETD, {"link": [{"name": "e0"}]}, context=Context.AUTOCONFIGURATION)
        self.assertEqual((9000, [{"name": "e0"}]), tuple(self.store.get(NETD)[name] for name in ("mtu", "link")))
        self.assertEqual(0, csctl("boot", "end"))


if __name__ == "__main__":
    CSCTL, EXAMPLES = sys.argv.pop(1), Path(sys.argv.pop(1))
    unittest.main()
