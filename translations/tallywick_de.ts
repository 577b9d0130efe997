<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AccountHeaderView</name>
    <message>
        <source>Delete this account and all its entries?</source>
        <translation>Dieses Konto und alle seine Einträge löschen?</translation>
    </message>
    <message>
        <source>Delete Account</source>
        <translation>Konto löschen</translation>
    </message>
</context>
<context>
    <name>DirectionBadge</name>
    <message>
        <source>Request</source>
        <translation>Anfrage</translation>
    </message>
    <message>
        <source>Response</source>
        <translation>Antwort</translation>
    </message>
    <message>
        <source>Notification</source>
        <translation>Benachrichtigung</translation>
    </message>
</context>
<context>
    <name>tallywick::AboutSection</name>
    <message>
        <source>About</source>
        <translation>Über</translation>
    </message>
</context>
<context>
    <name>tallywick::AccessSettingsSection</name>
    <message>
        <source>Access</source>
        <translation>Zugriff</translation>
    </message>
    <message>
        <source>Allow unauthenticated clients</source>
        <translation>Nicht authentifizierte Clients zulassen</translation>
    </message>
</context>
<context>
    <name>tallywick::AccountBalanceView</name>
    <message>
        <source>points</source>
        <translation>Punkte</translation>
    </message>
</context>
<context>
    <name>tallywick::AccountHeaderView</name>
    <message>
        <source>Rename</source>
        <translation>Umbenennen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>tallywick::AccountsSidebarModel</name>
    <message>
        <source>Accounts</source>
        <translation>Konten</translation>
    </message>
    <message>
        <source>Live Connections (%1)</source>
        <translation>Aktive Verbindungen (%1)</translation>
    </message>
    <message>
        <source>connected</source>
        <translation>verbunden</translation>
    </message>
    <message>
        <source>not connected</source>
        <translation>nicht verbunden</translation>
    </message>
    <message>
        <source>clientInfo</source>
        <translation>clientInfo</translation>
    </message>
    <message>
        <source>credential</source>
        <translation>credential</translation>
    </message>
    <message>
        <source>connecting…</source>
        <translation>verbindet…</translation>
    </message>
    <message>
        <source>authenticated</source>
        <translation>authentifiziert</translation>
    </message>
    <message>
        <source>unauthenticated</source>
        <translation>nicht authentifiziert</translation>
    </message>
</context>
<context>
    <name>tallywick::ActivityView</name>
    <message>
        <source>Live API Activity (%1)</source>
        <translation>Live-API-Aktivität (%1)</translation>
    </message>
</context>
<context>
    <name>tallywick::AddEntryView</name>
    <message>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
</context>
<context>
    <name>tallywick::AppModel</name>
    <message>
        <source>the host did not answer</source>
        <translation>der Host hat nicht geantwortet</translation>
    </message>
</context>
<context>
    <name>tallywick::BalanceChart</name>
    <message>
        <source>Balance chart</source>
        <translation>Kontostandsverlauf</translation>
    </message>
    <message>
        <source>No entries yet</source>
        <translation>Noch keine Buchungen</translation>
    </message>
    <message>
        <source>Balance now %1 points, lowest %2, highest %3, from %4 to %5</source>
        <translation>Kontostand jetzt %1 Punkte, niedrigster %2, höchster %3, von %4 bis %5</translation>
    </message>
</context>
<context>
    <name>tallywick::ClientInfoView</name>
    <message>
        <source>Client Info</source>
        <translation>Client-Informationen</translation>
    </message>
    <message>
        <source>Not provided by this client.</source>
        <translation>Von diesem Client nicht angegeben.</translation>
    </message>
</context>
<context>
    <name>tallywick::ConnectionStatusView</name>
    <message>
        <source>Host connected</source>
        <translation>Host verbunden</translation>
    </message>
    <message>
        <source>Host offline</source>
        <translation>Host offline</translation>
    </message>
    <message>
        <source>v%1</source>
        <translation>v%1</translation>
    </message>
</context>
<context>
    <name>tallywick::DesktopNotifications</name>
    <message>
        <source>Show</source>
        <translation>Anzeigen</translation>
    </message>
</context>
<context>
    <name>tallywick::EditEntrySheet</name>
    <message>
        <source>Edit Transaction</source>
        <translation>Buchung bearbeiten</translation>
    </message>
</context>
<context>
    <name>tallywick::EditorButtonsView</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
</context>
<context>
    <name>tallywick::EntryFields</name>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Amount</source>
        <translation>Betrag</translation>
    </message>
    <message>
        <source>Memo</source>
        <translation>Notiz</translation>
    </message>
</context>
<context>
    <name>tallywick::HostSettingsSection</name>
    <message>
        <source>Host</source>
        <translation>Host</translation>
    </message>
    <message>
        <source>Register / Repair Login Item</source>
        <translation>Anmeldeobjekt registrieren / reparieren</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Verbunden</translation>
    </message>
    <message>
        <source>Offline</source>
        <translation>Offline</translation>
    </message>
</context>
<context>
    <name>tallywick::LedgerListView</name>
    <message>
        <source>Balance chart</source>
        <translation>Kontostandsverlauf</translation>
    </message>
    <message>
        <source>Export All Entries as CSV…</source>
        <translation>Alle Buchungen als CSV exportieren…</translation>
    </message>
    <message>
        <source>Export Shown Entries as CSV…</source>
        <translation>Angezeigte Buchungen als CSV exportieren…</translation>
    </message>
    <message>
        <source>Export Ledger</source>
        <translation>Buchungen exportieren</translation>
    </message>
    <message>
        <source>ledger.csv</source>
        <translation>buchungen.csv</translation>
    </message>
    <message>
        <source>CSV files (*.csv)</source>
        <translation>CSV-Dateien (*.csv)</translation>
    </message>
    <message>
        <source>Could not write %1: %2. Choose a folder you can write to.</source>
        <translation>%1 konnte nicht geschrieben werden: %2. Wählen Sie einen Ordner, in den Sie schreiben dürfen.</translation>
    </message>
    <message>
        <source>Show %1 entries</source>
        <translation>%1-Buchungen zeigen</translation>
    </message>
    <message>
        <source>Search memos</source>
        <translation>Notizen durchsuchen</translation>
    </message>
    <message>
        <source>%1 shown</source>
        <translation>%1 angezeigt</translation>
    </message>
    <message>
        <source>Transactions</source>
        <translation>Buchungen</translation>
    </message>
    <message>
        <source>Transactions (%1)</source>
        <translation>Buchungen (%1)</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Copy Memo</source>
        <translation>Notiz kopieren</translation>
    </message>
    <message>
        <source>Copy Entry ID</source>
        <translation>Eintrags-ID kopieren</translation>
    </message>
    <message>
        <source>Select the account to import into, then try again.</source>
        <translation>Wählen Sie das Konto, in das importiert werden soll, und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Could not read %1: %2.</source>
        <translation>%1 konnte nicht gelesen werden: %2.</translation>
    </message>
    <message>
        <source>%1 is larger than 512 MB, more than a ledger holds. Choose the exported CSV file.</source>
        <translation>%1 ist größer als 512 MB, mehr als ein Buchungsjournal enthält. Wählen Sie die exportierte CSV-Datei.</translation>
    </message>
    <message>
        <source>%1: %2. Nothing was imported; correct the file and try again.</source>
        <translation>%1: %2. Es wurde nichts importiert; korrigieren Sie die Datei und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Importing entries…</source>
        <translation>Buchungen werden importiert…</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Import Entries</source>
        <translation>Buchungen importieren</translation>
    </message>
    <message>
        <source>Entry %1 of %2 was refused: %3. The %4 entries before it were imported.</source>
        <translation>Buchung %1 von %2 wurde abgelehnt: %3. Die %4 Buchungen davor wurden importiert.</translation>
    </message>
    <message>
        <source>CSV files (*.csv);;All files (*)</source>
        <translation>CSV-Dateien (*.csv);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>CSV</source>
        <translation>CSV</translation>
    </message>
    <message>
        <source>Export the ledger or import entries as CSV</source>
        <translation>Buchungen als CSV exportieren oder aus CSV importieren</translation>
    </message>
    <message>
        <source>Import Entries from CSV…</source>
        <translation>Buchungen aus CSV importieren…</translation>
    </message>
</context>
<context>
    <name>tallywick::LedgerRowDelegate</name>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>tallywick::LedgerTableView</name>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Edit this transaction</source>
        <translation>Diese Buchung bearbeiten</translation>
    </message>
    <message>
        <source>Delete this transaction</source>
        <translation>Diese Buchung löschen</translation>
    </message>
</context>
<context>
    <name>tallywick::LoginItemCommandsDialog</name>
    <message>
        <source>Login Item</source>
        <translation>Anmeldeobjekt</translation>
    </message>
    <message>
        <source>The host&apos;s login item is turned off. To turn it back on, run these commands in a terminal:</source>
        <translation>Das Anmeldeobjekt des Hosts ist ausgeschaltet. Um es wieder einzuschalten, führen Sie diese Befehle in einem Terminal aus:</translation>
    </message>
</context>
<context>
    <name>tallywick::MainWindow</name>
    <message>
        <source>Close Window</source>
        <translation>Fenster schließen</translation>
    </message>
    <message>
        <source>Quit Tallywick</source>
        <translation>Tallywick beenden</translation>
    </message>
</context>
<context>
    <name>tallywick::NewAccountNotifier</name>
    <message>
        <source>%1 (account %2)</source>
        <translation>%1 (Konto %2)</translation>
    </message>
    <message>
        <source>New agent account</source>
        <translation>Neues Agentenkonto</translation>
    </message>
    <message numerus="yes">
        <source>%n new agent accounts</source>
        <translation>
            <numerusform>%n neues Agentenkonto</numerusform>
            <numerusform>%n neue Agentenkonten</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>tallywick::NewAccountSettingsSection</name>
    <message>
        <source>New Accounts</source>
        <translation>Neue Konten</translation>
    </message>
    <message>
        <source>Starting points</source>
        <translation>Startpunkte</translation>
    </message>
</context>
<context>
    <name>tallywick::NoSelectionView</name>
    <message>
        <source>Select an account</source>
        <translation>Wählen Sie ein Konto aus</translation>
    </message>
    <message>
        <source>Agents appear here as they connect.</source>
        <translation>Agenten erscheinen hier, sobald sie sich verbinden.</translation>
    </message>
</context>
<context>
    <name>tallywick::RecordsView</name>
    <message>
        <source>Filter by name or ID</source>
        <translation>Nach Name oder ID filtern</translation>
    </message>
    <message>
        <source>Filter accounts</source>
        <translation>Konten filtern</translation>
    </message>
</context>
<context>
    <name>tallywick::RenameSheet</name>
    <message>
        <source>Rename Account</source>
        <translation>Konto umbenennen</translation>
    </message>
    <message>
        <source>Display name</source>
        <translation>Anzeigename</translation>
    </message>
</context>
<context>
    <name>tallywick::RootView</name>
    <message>
        <source>Records</source>
        <translation>Einträge</translation>
    </message>
    <message>
        <source>Activity</source>
        <translation>Aktivität</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>tallywick::StyledLabel</name>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
</context>
</TS>
