# Lets links of the scheme "zparkvale" start the client for the current user. To be run by the installer.
param(
    [Parameter(Mandatory = $true)][string]$Program,  # full path of ArkvaleTolma.exe
    [switch]$Remove
)
$key = 'HKCU:\Software\Classes\zparkvale'
if ($Remove) {
    Remove-Item -Path $key -Recurse -ErrorAction SilentlyContinue
    return
}
New-Item -Path "$key\shell\open\command" -Force | Out-Null
New-Item -Path "$key\DefaultIcon" -Force | Out-Null
Set-ItemProperty -Path $key -Name '(Default)' -Value 'URL:NRX Net Disk'
Set-ItemProperty -Path $key -Name 'URL Protocol' -Value ''
Set-ItemProperty -Path "$key\DefaultIcon" -Name '(Default)' -Value "`"$Program`",0"
Set-ItemProperty -Path "$key\shell\open\command" -Name '(Default)' -Value "`"$Program`" `"%1`""
