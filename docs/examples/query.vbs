' Prints what a query returns, as WMI writes it:
'
'   cscript //nologo query.vbs "SELECT * FROM Velk_PCIDevice WHERE VendorID = 32902 AND BusNumber = 0"
Option Explicit

Dim locator, services, instance

If WScript.Arguments.Count <> 1 Then
    WScript.Echo "usage: query.vbs QUERY"
    WScript.Quit 2
End If
Set locator = CreateObject("WbemScripting.SWbemLocator")
Set services = locator.ConnectServer(".", "root\VKQ")
For Each instance In services.ExecQuery(WScript.Arguments(0))
    WScript.Echo instance.GetObjectText_
Next
