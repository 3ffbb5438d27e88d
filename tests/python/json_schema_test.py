"""What "csctl schema export --json-schema" writes, asked of an independent validator.

For each document the validator must say what "csctl set" says. Left out is what only
one of the two can express; docs/schemas.md lists it.

usage: json_schema_test.py CSCTL EXAMPLES
"""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

import jsonschema

NETD = "netd/ipstack/stack_settings"
CLOCK = "clockd/sync/time_source"
USER = "accessd/local/user_account"

HW = "02:00:5e:10:00:01"


def net(**members):
    return {"hostname": "n", "hw_address": HW, **members}


def link(**members):
    return net(link=[{"name": "a"}, {"name": "b", **members}])


def user(**members):
    return {"login": "dora", "uid": 7, **members}


DOCUMENTS = {
    NETD: [
        net(), {}, {"hostname": "n"}, {"hw_address": HW}, net(extra=1), net(hostname=""), net(hostname="h" * 253),
        net(hostname="h" * 254), net(hostname="a b"), net(hostname="a.b-c"), net(hostname=None), net(hostname=3),
        net(mtu=575), net(mtu=576), net(mtu=9000), net(mtu=9001), net(mtu="9000"), net(mtu=None), net(mtu=3000000000),
        net(hw_address=HW.upper()), net(hw_address=HW + ":00"), net(learned_domain="x"), net(dns_search=["a", "b"]),
        net(dns_search=["a", 1]), net(dns_search="a"), net(dns_search=[]), net(routing={"mode": "static"}),
        net(routing={"mode": "other"}), net(routing={}), net(routing={"mode": "dynamic", "metric_scale": 0.5}),
        net(routing={"mode": "dynamic", "metric_scale": 0.25}), net(routing={"mode": "static", "router_id": 1 << 40}),
        net(routing={"mode": "static", "router_id": 1 << 63}), net(routing=[]), link(), link(enabled=True),
        link(enabled="yes"), link(lease={"ip": "::1", "expires": 1}), link(lease={"until": 1}), link(bus_path="p"),
        net(link=[{}]), net(link={}), link(address=[{"ip": "::1", "prefix_length": 128}]),
        link(address=[{"ip": "::1", "prefix_length": 129}]), link(address=[{"prefix_length": 8}]),
    ],
    CLOCK: [
        {"method": "manual"}, {"method": "gps"}, {"enabled": False}, {"method": "manual", "enabled": 1},
        {"method": "ntp", "ntp": {"server": [{"address": "a"}]}}, {"method": "ptp", "ntp": {"server": []}},
        {"ntp": {"server": []}}, {"method": "ntp", "ntp": {}}, {"method": "ptp", "ptp": {"domain": 127}},
        {"method": "ptp", "ptp": {"domain": 128}}, {"method": "manual", "drift_ppm": 0.5},
        {"method": "manual", "drift_ppm": "0.5"}, {"method": "manual", "ntp": None},
    ],
    USER + "@x": [
        user(), user(login="Dora"), user(login="d" * 33), user(uid=-1), user(password_hash="$6$x"),
        user(password_hash=1), user(groups=["a"]), user(last_login=1 << 40), user(last_login="now"),
        user(authorized_key=[{"label": "l", "text": "t"}]), user(authorized_key=[{"label": "l"}]), user(cs_generated_id="x"),
    ],
}


def main(csctl, examples):
    root = tempfile.TemporaryDirectory()

    def run(*words, text=""):
        return subprocess.run([csctl, "--root", root.name, "--json", *words], input=text, text=True, capture_output=True)

    assert run("init").returncode == 0
    for schema in Path(examples, "components").glob("*/schema/*.json"):
        assert run("schema", "add", str(schema)).returncode == 0

    count = {True: 0, False: 0}
    differing = []
    for name, documents in DOCUMENTS.items():
        schema = json.loads(run("schema", "export", "--json-schema", "--instance", name.split("@")[0]).stdout)
        jsonschema.Draft7Validator.check_schema(schema)
        validator = jsonschema.Draft7Validator(schema)
        for document in documents:
            text = json.dumps(document)
            outcome = run("set", name, text=text)
            assert outcome.returncode in (0, 3), outcome.stderr
            accepted = outcome.returncode == 0
            count[accepted] += 1
            if validator.is_valid(document) != accepted:
                differing.append(f"{name} {text}: csctl {outcome.stdout}{outcome.stderr}")
    print(f"{count[True]} documents accepted by both, {count[False]} refused by both, {len(differing)} differ")
    print("\n".join(differing))
    return 1 if differing or min(count.values()) < 20 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
