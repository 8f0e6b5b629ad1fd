// systemd's units read from a machine described under a root and a home:
// the unit file's own grammar, then which units are on, off or masked, with
// drop-ins, templates, timers, sockets, and programs that are not there.

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "DescribedStartup.h"
#include "UninstallKit/SystemdUnits.h"

namespace tessel {
namespace {

TEST(UnitFile, KeysAddUpAnEmptyOneResetsAndDropInsComeOnTop) {
    SystemdUnitFile unit;
    unit.apply("# a comment \\\n[Unit]\nDescription=Backup\n[Service]\nExecStart=/usr/bin/backup \\\n"
               "  ; a comment inside the line\n  --old\nEnvironment=A=1\nnot a key\n[Install]\nWantedBy=a.target\n");
    unit.apply("[Service]\r\nExecStart=\r\nExecStart=/usr/bin/backup --new\r\n[Install]\nWantedBy=b.target\n");
    EXPECT_EQ(unit.values("Service", "ExecStart"), std::vector<std::string>{"/usr/bin/backup --new"});
    EXPECT_EQ(unit.values("Install", "WantedBy"), (std::vector<std::string>{"a.target", "b.target"}));
    EXPECT_EQ(unit.value("Service", "Environment"), "A=1");
    EXPECT_FALSE(unit.hasSection("Timer"));

    SystemdUnitFile continued;
    continued.apply("[Service]\nExecStart=/usr/bin/backup \\\n  ; passed over\n  --old\n");
    EXPECT_EQ(continued.value("Service", "ExecStart"), "/usr/bin/backup    --old") << "joined with a space, the comment gone";
}

TEST(UnitFile, CommandsLoseTheirPrefixesAndSpecifiersStandForTheUnit) {
    using Words = std::vector<std::string>;
    const auto split = [](std::string_view line) {
        const std::optional<SystemdUnitFile::Command> command = SystemdUnitFile::splitCommand(line);
        Words words{command->program};
        words.insert(words.end(), command->arguments.begin(), command->arguments.end());
        return words;
    };
    EXPECT_EQ(split("-@/usr/sbin/daemon daemon-name --a"), (Words{"/usr/sbin/daemon", "--a"}));
    EXPECT_EQ(split("+!!/bin/true ; /bin/false"), (Words{"/bin/true"}));
    EXPECT_EQ(split("/bin/echo \"a b\" 'c d' e\\x41 \\\\s"), (Words{"/bin/echo", "a b", "c d", "eA", "\\s"}));
    EXPECT_EQ(SystemdUnitFile::splitCommand("   "), std::nullopt);
    EXPECT_THROW(SystemdUnitFile::splitCommand("/bin/echo \"open"), std::invalid_argument);
    EXPECT_THROW(SystemdUnitFile::splitCommand("-"), std::invalid_argument);

    const SystemdUnitFile::Specifiers unit{"serial-getty@tty\\x2dS0-a.service", "/home/ann", "ann", "1000", "/run/user/1000"};
    EXPECT_EQ(SystemdUnitFile::expand("%n|%N|%p|%i|%I|%f|%h|%u|%U|%t|%%|%z", unit),
              "serial-getty@tty\\x2dS0-a.service|serial-getty@tty\\x2dS0-a|serial-getty|tty\\x2dS0-a|tty-S0/a|/tty-S0/a|"
              "/home/ann|ann|1000|/run/user/1000|%|%z");
    EXPECT_EQ(UnitNames::templateOf("getty@tty1.service"), "getty@.service");
    EXPECT_TRUE(UnitNames::isTemplate("getty@.service") && !UnitNames::isInstance("getty@.service"));
}

struct Units : DescribedStartup {
    std::map<std::string, StartupItem> read(SystemdUnits::Scope scope) {
        std::map<std::string, StartupItem> items;
        for (StartupItem& item : SystemdUnits::read(startup, scope, unreadable)) items.emplace(item.label, std::move(item));
        return items;
    }
    SystemdUnits::Unreadable unreadable;
};

TEST_F(Units, SystemUnitsAreOnByLinksOffByChoiceAndMaskedByDevNull) {
    const std::string lib = "/usr/lib/systemd/system/", etc = "/etc/systemd/system/";
    program("/usr/sbin/cron");
    write(lib + "cron.service", "[Service]\nExecStart=/usr/sbin/cron -f\n[Install]\nWantedBy=multi-user.target\n");
    link(lib + "cron.service", etc + "multi-user.target.wants/cron.service");
    write(lib + "bluetooth.service", "[Service]\nExecStart=/usr/libexec/bluetoothd\n[Install]\nWantedBy=bluetooth.target\n");
    link("/dev/null", etc + "bluetooth.service");
    write(lib + "backup.service", "[Service]\nExecStart=/usr/bin/backup --old\n[Install]\nWantedBy=multi-user.target\n");
    write(etc + "backup.service.d/override.conf", "[Service]\nExecStart=\nExecStart=/usr/bin/python3 /opt/tool/run.py --quick\n");
    write(lib + "backup.service.d/zz.conf", "[Service]\nExecStart=/bin/never-seen\n");
    write(etc + "backup.service.d/zz.conf", "[Unit]\nDescription=this one stands for the one of /usr/lib\n");
    program("/opt/tool/run.py");
    write(lib + "getty@.service", "[Service]\nExecStart=-/sbin/agetty -o '-p -- \\\\u' --noclear %I $TERM\n");
    link(lib + "getty@.service", etc + "getty.target.wants/getty@tty1.service");
    write(lib + "apt-daily.timer", "[Timer]\nOnCalendar=*-*-* 6,18:00\nOnCalendar=weekly\nOnBootSec=5min\n[Install]\nWantedBy=timers.target\n");
    write(lib + "apt-daily.service", "[Service]\nType=oneshot\nExecStart=/usr/bin/install -d /var/x\n"
                                     "ExecStart=/usr/lib/apt/apt.systemd.daily\n");
    link("/usr/lib/apt/gone", "/usr/lib/apt/apt.systemd.daily");
    link(lib + "apt-daily.timer", etc + "timers.target.wants/apt-daily.timer");
    write(lib + "ssh.socket", "[Socket]\nListenStream=22\nAccept=yes\n[Install]\nWantedBy=sockets.target\n");
    write(lib + "ssh@.service", "[Service]\nExecStart=-/usr/sbin/sshd -i\n");
    program("/usr/sbin/sshd");
    link(lib + "ssh.socket", etc + "sockets.target.wants/ssh.socket");
    write(lib + "helper.service", "[Service]\nExecStart=/usr/bin/helper\n");
    link("helper.service", lib + "dbus-org.example.Helper.service");
    link(lib + "gone.service", etc + "multi-user.target.wants/gone.service");

    std::map<std::string, StartupItem> items = read(SystemdUnits::Scope::system);
    EXPECT_FALSE(items.contains("helper.service")) << "a unit only another asks for, or D-Bus through its package's alias, is none";
    const StartupItem &cron = items["cron.service"], &bluetooth = items["bluetooth.service"], &backup = items["backup.service"];
    EXPECT_FALSE(cron.disabled);
    EXPECT_EQ(cron.program, "/usr/sbin/cron");
    EXPECT_EQ(cron.kind, StartupItemKind::systemService);
    EXPECT_EQ(cron.changeCommand, "sudo systemctl disable cron.service");
    EXPECT_TRUE(bluetooth.disabled);
    EXPECT_EQ(bluetooth.path, etc + "bluetooth.service");
    EXPECT_EQ(bluetooth.program, "/usr/libexec/bluetoothd") << "what it would run, from the file it masks";
    EXPECT_EQ(bluetooth.changeCommand, "sudo systemctl unmask bluetooth.service");
    EXPECT_TRUE(backup.disabled);
    EXPECT_EQ(backup.program, "/opt/tool/run.py") << "the drop-in's empty ExecStart= took the old command away";
    EXPECT_EQ(backup.changeCommand, "sudo systemctl enable backup.service");
    EXPECT_EQ(items["getty@tty1.service"].program, "/sbin/agetty");
    EXPECT_EQ(items["getty@tty1.service"].arguments, (std::vector<std::string>{"-o", "-p -- \\u", "--noclear", "tty1", "$TERM"}));
    const StartupItem& timer = items["apt-daily.timer"];
    EXPECT_EQ(timer.kind, StartupItemKind::scheduledJob);
    EXPECT_EQ(timer.program, "/usr/lib/apt/apt.systemd.daily") << "the service's last command is its work";
    EXPECT_FALSE(timer.programExists);
    EXPECT_EQ(timer.detail, "It starts apt-daily.service at *-*-* 6,18:00, weekly, 5min after boot. Its program "
                            "/usr/lib/apt/apt.systemd.daily is a link to /usr/lib/apt/gone, which is not there.");
    EXPECT_EQ(items["ssh.socket"].program, "/usr/sbin/sshd") << "an accepting socket starts an instance of its template";
    EXPECT_EQ(items["ssh.socket"].detail, "It starts ssh@.service when something connects to 22.");
    EXPECT_FALSE(items["gone.service"].isReadable);
    EXPECT_EQ(items["gone.service"].detail, "Its file is a link to something that no longer exists, so systemd has nothing to start.");
    EXPECT_TRUE(unreadable.empty());
}

TEST_F(Units, UserUnitsAreTheUsersToChangeWhenTheirLinksAreInTheHome) {
    const std::string vendor = "/usr/lib/systemd/user/", own = machine.home + "/.config/systemd/user/";
    program("/usr/bin/syncer");
    write(vendor + "syncer.service", "[Service]\nExecStart=syncer --home %h\n[Install]\nWantedBy=default.target\n");
    link(vendor + "syncer.service", own + "default.target.wants/syncer.service");
    write(vendor + "agent.socket", "[Socket]\nListenStream=%t/agent\n[Install]\nWantedBy=sockets.target\n");
    write(vendor + "agent.service", "[Service]\nExecStart=/usr/bin/agent\n");
    program("/usr/bin/agent");
    link(vendor + "agent.socket", vendor + "sockets.target.wants/agent.socket");
    write(own + "mine.service", "[Service]\nExecStart=%h/bin/mine\n[Install]\nWantedBy=default.target\n");

    std::map<std::string, StartupItem> items = read(SystemdUnits::Scope::user);
    const StartupItem &syncer = items["syncer.service"], &agent = items["agent.socket"], &mine = items["mine.service"];
    EXPECT_EQ(syncer.kind, StartupItemKind::backgroundService);
    EXPECT_FALSE(syncer.requiresAdministrator || syncer.disabled);
    EXPECT_EQ(syncer.program, "/usr/bin/syncer") << "a bare name is found where systemd looks";
    EXPECT_EQ(syncer.arguments, (std::vector<std::string>{"--home", machine.home}));
    EXPECT_EQ(syncer.changeCommand, std::nullopt) << "Tessel can switch it itself";
    EXPECT_EQ(agent.detail, "It starts agent.service when something connects to /run/user/1000/agent.");
    EXPECT_EQ(agent.changeCommand, "systemctl --user mask agent.socket") << "its package switches it on: only a mask stops it";
    EXPECT_TRUE(mine.disabled);
    EXPECT_EQ(mine.program, machine.home + "/bin/mine");
    EXPECT_FALSE(mine.programExists);
}

} // namespace
} // namespace tessel
