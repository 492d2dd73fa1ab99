"""Which tests have to notice the faults of which folder."""
import dataclasses


@dataclasses.dataclass(frozen=True)
class Suite:
    """Test programs of a preset, and the least part of the faults that they must notice."""
    preset: str
    targets: tuple
    least: int


def logic(least, *targets):
    return Suite("core", targets, least)


def desktop(least, *targets):
    return Suite("release", targets, least)


# A folder's sources are those below it that no longer name here stands for.
SUITES = {
    "app": logic(97, "app_test"),
    "prompt": logic(97, "prompt_test"),
    "window": logic(97, "window_test", "model_test"),
    "credentials": logic(97, "credentials_tests", "model_test"),
    "agent": desktop(97, "agent_library_tests", "agent_append_tests", "agent_privilege_tests"),
    "platform": logic(90, "platform_test"),
    "platform/property_list": desktop(90, "platform_property_list_tests"),
    "platform/posix": desktop(90, "process_tests", "real_user_tests"),
    "platform/linux/log": desktop(90, "log_tests"),
    "platform/linux/session": desktop(90, "session_tests"),
    "platform/linux/directory": desktop(
        90, "directory_service_tests", "local_account_tests", "credential_checker_tests",
        "foreign_rights_tests", "ldap_node_tests"),
    "platform/qt/accessibility": desktop(90, "qt_tests", "qt_e2e_tests"),
    "platform/qt/application": desktop(90, "qt_tests"),
    "platform/qt/controls": desktop(90, "qt_tests", "approved_pictures_tests"),
    "platform/qt/desktop": desktop(90, "qt_tests", "x11_tests", "approved_pictures_tests"),
    "platform/qt/password_field": desktop(90, "qt_tests", "x11_tests", "approved_pictures_tests"),
    "platform/qt/widgets": desktop(90, "qt_tests", "approved_pictures_tests", "text_fits_tests"),
    "tools/ostrel_agent": desktop(90, "agent_launcher_tests", "agent_user_tests"),
    "tools/osupdate_checkpass": desktop(90, "credential_checker_tests", "foreign_rights_tests",
                                        "ldap_node_tests"),
    "tools/osupdate_checkpass/ldap": desktop(90, "ldap_node_tests"),
    "tools/osupdate_checkpass/pam": desktop(90, "credential_checker_tests"),
    "tools/osupdate_checkpass/protocol": desktop(90, "credential_checker_tests"),
    "tools/osupdate_checkpass/service": desktop(90, "credential_checker_tests",
                                                "foreign_rights_tests"),
    "tools/sysadminctl": desktop(90, "process_tests"),
}


def below(name):
    """The folders that a name stands for: its own and those in it."""
    alone = name.removesuffix("/.")
    return [folder for folder in SUITES
            if folder == alone or (alone == name and folder.startswith(name + "/"))]


def sources_of(tree, folder):
    """The sources of a folder, without those of the folders in it that have tests of their own."""
    others = [tree / other for other in below(folder) if other != folder]
    return [path for kind in ("*.cpp", "*.h") for path in sorted((tree / folder).rglob(kind))
            if not any(other in path.parents for other in others)]
