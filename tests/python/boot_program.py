"""What a service does with its settings while the host boots: it takes up what is
pending, confirms it, and stores what it has found out, all or nothing.

usage: boot_program.py ROOT FOUND..., each a JSON object of settings
"""

import json
import sys

import configstore
from configstore import Context

SETTINGS = "netd/ipstack/stack_settings"


def main(root, *found):
    configstore.set_host_root(root)
    with configstore.Store() as store:
        if configstore.is_boot() and configstore.pending(SETTINGS) is not None:
            configstore.confirm(SETTINGS)
        try:
            with store.transaction():
                for part in found:
                    store.update(SETTINGS, json.loads(part), context=Context.AUTOCONFIGURATION)
        except configstore.ValidationError as error:
            print(error, file=sys.stderr)
            return 3
        settings = store.get(SETTINGS)
        origin = {field.path: field.layer for field in store.explain(SETTINGS).fields}
        print(settings["hostname"], settings["mtu"], [link["name"] for link in settings.get("link", [])])
        print("hostname is", origin["/hostname"])
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
